// What the thumbnails of all definitions and of the scenes that ship take: each drawn for the first
// time, then read back from the disk. With a folder as argument the pictures are kept there, to be
// looked at; further arguments choose definitions by id.

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/rendering/thumbnail/ThumbnailCache.h>
#include <corvane/rendering/thumbnail/ThumbnailRHIContext.h>
#include <corvane/rendering/thumbnail/ThumbnailSubjects.h>
#include <corvane/rendering/thumbnail/ThumbnailView.h>
#include <corvane/shader/getShader.h>
#include <shader/compileShader.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

namespace {

constexpr QSize size(128, 128);

struct Times
{
    double prepare = 0.0; ///< nodes and shader text
    double find = 0.0;    ///< the part's box and steepness
    double bake = 0.0;    ///< text to SPIR-V and the others
    double draw = 0.0;    ///< all else: the driver's compile, and the picture
    double warm = 0.0;    ///< from disk

    void operator+=(const Times &other)
    {
        prepare += other.prepare;
        find += other.find;
        bake += other.bake;
        draw += other.draw;
        warm += other.warm;
    }
};

double millisecondsOf(QElapsedTimer &timer)
{
    const double elapsed = double(timer.nsecsElapsed()) / 1e6;
    timer.restart();
    return elapsed;
}

void print(const QString &name, const Times &times)
{
    std::printf("%-24s prepare %6.1f  find %7.1f  bake %7.1f  draw %7.1f  warm %6.3f ms\n",
                qPrintable(name), times.prepare, times.find, times.bake, times.draw, times.warm);
    std::fflush(stdout);
}

class Bench
{
public:
    explicit Bench(const QString &folder)
        : m_cache(folder, {})
    {}

    bool start() { return m_context.initialize(corvane::shader::getShader(u":/sdf.vert.qsb"_s)); }
    /// @param prepareMs  what making the request has taken
    void run(const ThumbnailRenderRequest &request, double prepareMs)
    {
        Times times{.prepare = prepareMs};
        QElapsedTimer timer;
        timer.start();
        const ThumbnailPart part = findThumbnailPart(request);
        times.find = millisecondsOf(timer);
        const auto baked =
            shader::compileShader(request.shaderSource, QShader::FragmentStage, request.subject);
        times.bake = millisecondsOf(timer);
        const auto picture = m_context.render(request);
        times.draw = millisecondsOf(timer) - times.find; // it looks for the part itself
        if (picture.image.isNull()) {
            std::printf("%s: %s\n", qPrintable(request.subject), qPrintable(picture.error));
            return;
        }
        m_cache.saveToDisk(request.subject, picture.image);
        timer.restart();
        const QImage again = m_cache.loadFromDisk(request.subject, size);
        times.warm = millisecondsOf(timer);
        if (again != picture.image.convertToFormat(again.format()))
            std::printf("%s: another picture from disk\n", qPrintable(request.subject));
        print(request.subject + (part.isCut ? u" (cut)"_s : QString()), times);
        m_total += times;
    }
    void finish() const { print(u"total"_s, m_total); }

private:
    ThumbnailCache m_cache;
    ThumbnailRHIContext m_context;
    Times m_total;
};

void runDefinitions(Bench &bench, const QStringList &ids)
{
    auto &registry = corvane::registry::Registry::instance();
    ThumbnailSubjects subjects(&registry);
    const auto definitions = registry.getAllPrimitives();
    for (const auto &definition : definitions) {
        if (!ids.isEmpty() && !ids.contains(definition->id))
            continue;
        QElapsedTimer timer;
        timer.start();
        const auto subject = subjects.make(*definition, {});
        ThumbnailRenderRequest request{.subject = definition->id,
                                       .size = size,
                                       .nodes = subject.nodes,
                                       .rootIndex = subject.rootIndex};
        subjects.addShader(request);
        bench.run(request, millisecondsOf(timer));
    }
}

void runSample(Bench &bench, const QFileInfo &file)
{
    // With the definitions that the file brings, which are no others'.
    const auto registry = corvane::registry::Registry::instance().withoutFileScoped();
    const corvane::registry::RegistryScope scope(*registry);
    const auto parsed = corvane::model::CorvaneDSLParser::parseRegularFile(file.filePath());
    if (!parsed.ok()) {
        std::printf("%s: not read\n", qPrintable(file.fileName()));
        return;
    }
    parsed.scene->registerFileScopedDefinitions();
    corvane::expr::ExpressionManager expressions(parsed.scene.data());
    expressions.evaluateAll();
    QElapsedTimer timer;
    timer.start();
    corvane::render::SDFLayer layer(registry.get());
    layer.setScene(parsed.scene.data());
    const auto field = layer.nodesAsOneField();
    ThumbnailRenderRequest request{.subject = file.completeBaseName(),
                                   .size = size,
                                   .nodes = field.nodes,
                                   .rootIndex = field.rootIndex};
    ThumbnailSubjects(registry.get()).addShader(request);
    bench.run(request, millisecondsOf(timer));
}

void runSamples(Bench &bench)
{
    const QDir folder(QStringLiteral(CORVANE_SAMPLES));
    const auto files = folder.entryInfoList({u"*.corvane"_s}, QDir::Files);
    for (const QFileInfo &file : files)
        runSample(bench, file);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir scratch;
    const QStringList arguments = QCoreApplication::arguments();
    Bench bench(arguments.value(1, scratch.path()));
    if (!bench.start())
        return 1;
    runDefinitions(bench, arguments.mid(2));
    bench.finish();
    if (arguments.size() < 3)
        runSamples(bench);
    return 0;
}
