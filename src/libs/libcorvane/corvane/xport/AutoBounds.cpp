#include <corvane/xport/AutoBounds.h>

#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/eval/FieldCompiler.h>

#include <QLoggingCategory>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcAutoBounds, "ondrel.corvane.export.bounds", QtWarningMsg)

namespace {

constexpr float paddingShare = 0.04f;
constexpr float smallestPadding = 0.02f;

/// What was only probed may be a little larger than it looks.
BoundingVolume padded(const BoundingVolume &box)
{
    QVector3D padding;
    for (int axis = 0; axis < 3; ++axis)
        padding[axis] = std::max(paddingShare * box.extent()[axis], smallestPadding);
    return box.grownBy(padding);
}

/// Room for the cells that the surface ends in.
BoundingVolume withRoom(const BoundingVolume &box, float cellSize)
{
    const float longest = box.longestSide();
    const float room = std::clamp(1.5f * cellSize, 1e-4f * longest, 0.25f * longest);
    return box.grownBy({room, room, room});
}

QList<model::SceneWarning> warningsOf(const bv::PartBounds &part)
{
    const QString where = u"settings.export.autoBounds"_s;
    switch (part.kind) {
    case bv::PartBounds::Kind::Proved:
        return {};
    case bv::PartBounds::Kind::Probed:
        return {{.where = where,
                 .what = u"the box is a guess: that the part ends within it could not be proved"_s,
                 .remedy = u"Look whether the mesh is whole; if not, set settings.export.bounds "
                           "around the part"_s}};
    case bv::PartBounds::Kind::Endless:
    case bv::PartBounds::Kind::Nothing:
        break;
    }
    return {{.where = where,
             .what = u"no box was found (%1), so that of settings.export.bounds is used"_s.arg(
                 part.reason),
             .remedy = part.kind == bv::PartBounds::Kind::Endless
                           ? u"Intersect the part with one that has an end, or set autoBounds: "
                             "false"_s
                           : u"Check that the scene has a part and that it is not subtracted "
                             "away"_s}};
}

bv::BoundsDetectionResult probe(const eval::CompiledField &field, int threads,
                                const std::atomic_bool &cancelFlag)
{
    const auto makeEvaluator = [&] {
        auto evaluator = std::make_unique<eval::EvalFieldEvaluator>(
            field.program, field.positionHandle, field.distanceHandle);
        evaluator->setCancelFlag(&cancelFlag);
        return evaluator;
    };
    bv::BoundsDetector::Config config;
    config.threads = threads;
    config.evaluatorFactory = makeEvaluator;
    return bv::BoundsDetector::detectAdaptive(makeEvaluator().get(), config);
}

} // namespace

QList<model::SceneWarning> applyAutoBounds(ExportRequest &request,
                                           const eval::DefinitionTable &definitions, int threads,
                                           const std::atomic_bool &cancelFlag)
{
    auto scene =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootNodeIndex, definitions);
    // Not native code, though the probes would gain by it: the box is to be the same everywhere.
    const eval::CompiledField field = scene.error.isEmpty()
                                          ? eval::compileField(scene, ::eval::Backend::Interpreted)
                                          : eval::CompiledField();
    if (!field.program) {
        qCWarning(lcAutoBounds)
            << "[export] auto-bounds: evaluator unavailable, keeping requested bounds";
        return {};
    }
    const BoundingVolume requested(request.boundsMin, request.boundsMax);
    const bv::BoundsDetectionResult probed = probe(field, threads, cancelFlag);
    bv::FieldIntervals intervals(field);
    intervals.setCancelFlag(&cancelFlag);
    const bv::PartBounds part = bv::findPartBounds(
        intervals, probed, {.requested = requested, .cellSize = std::max(request.cellSize, 0.0f)});
    if (cancelFlag.load())
        return {};
    BoundingVolume box = requested;
    if (part.kind == bv::PartBounds::Kind::Proved)
        box = withRoom(part.box, request.cellSize);
    else if (part.kind == bv::PartBounds::Kind::Probed)
        box = padded(probed.bounds).united(requested).intersected(padded(part.box));
    else
        qCWarning(lcAutoBounds).noquote()
            << u"[export] auto-bounds: detection failed (%1), keeping requested bounds"_s.arg(
                   part.reason);
    if (box != requested)
        qCInfo(lcAutoBounds) << "[export] auto-bounds:" << request.boundsMin << request.boundsMax
                             << "→" << box.minimum() << box.maximum();
    request.boundsMin = box.minimum();
    request.boundsMax = box.maximum();
    return warningsOf(part);
}

} // namespace corvane::xport
