// What finding the box of a part takes, and how close it comes, for the scenes that ship with the
// program and those named on the command line.

#include <corvane/bench/CompiledScene.h>
#include <corvane/bv/BoundsDetector.h>
#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/registry/Registry.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

using namespace Qt::StringLiterals;
using corvane::BoundingVolume;
using corvane::bv::BoundsDetector;

namespace {

QString textOf(const BoundingVolume &box)
{
    if (box.isEmpty())
        return u"empty"_s;
    QStringList texts;
    for (int axis = 0; axis < 3; ++axis)
        texts.append(u"%1..%2"_s.arg(QString::number(double(box.minimum()[axis]), 'f', 2),
                                     QString::number(double(box.maximum()[axis]), 'f', 2)));
    return texts.join(u' ');
}

void measure(const QString &path)
{
    QString error;
    const auto scene = corvane::bench::compileSceneFile(path, error);
    if (!scene) {
        std::printf("%s: %s\n", qPrintable(path), qPrintable(error));
        return;
    }
    auto built = corvane::eval::SdfSceneGraphBuilder::build(scene->nodes, scene->rootIndex,
                                                            scene->definitions);
    const auto field = corvane::eval::compileField(built, ::eval::Backend::Interpreted);
    QElapsedTimer timer;
    timer.start();
    corvane::eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle,
                                                field.distanceHandle);
    const auto probed = BoundsDetector::detectAdaptive(&evaluator);
    const qint64 probing = timer.restart();
    corvane::bv::FieldIntervals intervals(field);
    const auto part = corvane::bv::findPartBounds(
        intervals, probed,
        {.requested = {scene->boundsMin, scene->boundsMax}, .cellSize = scene->cellSize});
    const qint64 proving = timer.elapsed();
    std::printf("%-14s probed %4lld ms %s%s\n%14s %s %4lld ms %s (%lld steps)\n",
                qPrintable(QFileInfo(path).completeBaseName()), probing,
                qPrintable(textOf(probed.bounds)), probed.hasUnboundedAxes() ? " unbounded" : "",
                "", part.kind == corvane::bv::PartBounds::Kind::Proved ? "proved" : "GUESS ",
                proving, qPrintable(textOf(part.box)), intervals.steps());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    QStringList paths = application.arguments().mid(1);
    if (paths.isEmpty()) {
        const QDir samples(QStringLiteral(CORVANE_SAMPLES));
        const auto names = samples.entryList({u"*.corvane"_s});
        for (const QString &name : names)
            paths.append(samples.filePath(name));
    }
    for (const QString &path : std::as_const(paths))
        measure(path);
    return 0;
}
