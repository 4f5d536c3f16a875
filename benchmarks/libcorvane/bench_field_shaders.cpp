// What the geometry pass of a frame costs by how the field gets into the shader: the walk along the
// nodes, a shader made for the scene, and the same scene written by hand with constants in the
// text. "compile_ms" is the driver's time, up to and with the first frame less a frame.
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/SDFShaderGenerator.h>
#include <corvane/shader/SDFUniforms.h>
#include <corvane/shader/ShaderTemplates.h>
#include <rhi/OffscreenRhi.h>
#include <support/FieldPicture.h>
#include <support/NodeTree.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QMatrix4x4>

using namespace Qt::StringLiterals;
using namespace corvane;
using shader::SDFUniforms;

namespace {

constexpr QSize pictureSize{320, 180};

struct BenchScene
{
    const char *name; ///< of the text by hand too
    const char *tree;
};

constexpr BenchScene scenes[] = {
    {"csg", "(smooth_union 0.3 (subtract 0 (box 2.98 0.98 2.98)"
            " (translate -1.51 0 0 (cylinder 0.61 4)) (translate 1.51 0 -1.21 (cylinder 0.61 4))"
            " (translate 1.51 0 1.21 (cylinder 0.61 4))) (translate 0 1.21 0 (torus 2.21 0.51)))"},
    {"bracket",
     "(subtract 0 (smooth_union 0.5 (translate 0 -2.5 0 (round 0.1 (box 3.38 0.31 2.38)))"
     " (translate 0 -0.4 -2.1 (round 0.1 (box 3.38 2.39 0.31)))"
     " (translate 0 -2.09 0.6 (torus 1.01 0.38))) (translate 0 -2.5 0.6 (cylinder 0.61 4))"
     " (translate -2.6 -2.5 -0.9 (cylinder 0.31 4)) (translate 2.6 -2.5 -0.9 (cylinder 0.31 4))"
     " (translate -2.6 -2.5 1.7 (cylinder 0.31 4)) (translate 2.6 -2.5 1.7 (cylinder 0.31 4))"
     " (translate -2 0.6 -2.1 (rotate 90 0 0 (cylinder 0.61 4)))"
     " (translate 2 0.6 -2.1 (rotate 90 0 0 (cylinder 0.61 4)))"
     " (translate 0 0.6 -2.1 (box 0.71 0.42 2)))"},
};

enum Evaluator { Walk, Specialised, ByHand };
constexpr const char *evaluatorNames[] = {"walk", "specialised", "by hand"};

QString textOf(const char *name)
{
    QFile file(QStringLiteral(CORVANE_FIELD_SHADERS "/%1.glsl").arg(QLatin1StringView(name)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The template of the geometry pass around a field of its own.
QString handWrittenShader(const char *name)
{
    QString text = shader::ShaderTemplates::load(u"sdf_geometry.frag.in"_s);
    text.replace("// {{SDF_FUNCTIONS}}"_L1, "#define SPECIALISED_SCENE"_L1);
    text.replace("// {{DISPATCH_FUNCTION}}"_L1, textOf("shapes") + textOf(name));
    return text;
}

SDFUniforms uniformsOf(const support::NodeTree &tree, int root)
{
    QMatrix4x4 projection;
    projection.perspective(45, float(pictureSize.width()) / float(pictureSize.height()), 0.1f, 100);
    QMatrix4x4 view;
    view.lookAt(QVector3D(6.5f, 5.4f, 8.6f), {}, {0, 1, 0});
    SDFUniforms uniforms;
    std::copy_n(projection.constData(), 16, uniforms.projMatrix.begin());
    std::copy_n(view.constData(), 16, uniforms.viewMatrix.begin());
    uniforms.nodeCount = int(tree.nodes.size());
    uniforms.rootNodeIndex = root;
    uniforms.setBounds({-5, -5, -5}, {5, 5, 5}, true);
    return uniforms;
}

void drawGeometry(benchmark::State &state)
{
    const BenchScene &scene = scenes[state.range(0)];
    const auto evaluator = Evaluator(state.range(1));
    state.SetLabel(std::string(scene.name) + ", " + evaluatorNames[evaluator]);
    support::NodeTree tree;
    const int root = tree.read(QString::fromLatin1(scene.tree));
    shader::SDFShaderGenerator generator(&registry::Registry::instance());
    generator.setActiveDefinitionIds(render::SDFLayer::usedDefinitionIds(tree.nodes, generator));
    const auto own = generator.specialisedScene(tree.nodes, {root});
    if (evaluator == Specialised)
        generator.setSpecialisedScene(own);
    const SDFUniforms uniforms = uniformsOf(tree, root);
    const rhi::RhiPointer rhi = rhi::createOffscreenRhi(nullptr);
    QString error;
    support::FieldPicture picture(
        rhi.get(),
        {.fragmentSource = evaluator == ByHand ? handWrittenShader(scene.name)
                                               : generator.generateGeometryShader(),
         .uniforms = QByteArray(reinterpret_cast<const char *>(&uniforms), sizeof uniforms),
         .nodes = tree.nodes,
         .size = pictureSize,
         .formats = {QRhiTexture::RGBA16F, QRhiTexture::RGBA8, QRhiTexture::RGBA8,
                     QRhiTexture::RGBA8},
         .sceneParameters = own.parameterBytes(tree.nodes)},
        error);
    if (!error.isEmpty())
        return state.SkipWithError(qPrintable(error));
    const auto hits = picture.draw().at(2).count('\x10'); // the top byte of an item id
    const qint64 first = picture.drawNanoseconds();
    picture.draw();
    if (hits < 5000)
        return state.SkipWithError("hardly anything is drawn");
    state.counters["compile_ms"] =
        double(picture.pipelineNanoseconds() + first - picture.drawNanoseconds()) / 1e6;
    for (auto round : state)
        picture.draw();
}
BENCHMARK(drawGeometry)
    ->ArgsProduct({{0, 1}, {Walk, Specialised, ByHand}})
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    registry::Registry::instance().loadBuiltinPrimitives();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
