#include <corvane/xport/AutoBounds.h>

#include <corvane/bv/BoundsDetector.h>
#include <corvane/eval/FieldCompiler.h>

#include <QLoggingCategory>

namespace corvane::xport {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcAutoBounds, "ondrel.corvane.export.bounds", QtWarningMsg)

namespace {

constexpr float paddingShare = 0.04f;
constexpr float smallestPadding = 0.02f;

BoundingVolume padded(const BoundingVolume &box)
{
    QVector3D padding;
    for (int axis = 0; axis < 3; ++axis)
        padding[axis] = std::max(paddingShare * box.extent()[axis], smallestPadding);
    return box.grownBy(padding);
}

} // namespace

void applyAutoBounds(ExportRequest &request, const eval::DefinitionTable &definitions, int threads,
                     const std::atomic_bool &cancelFlag)
{
    auto scene =
        eval::SdfSceneGraphBuilder::build(request.nodes, request.rootNodeIndex, definitions);
    const eval::CompiledField field =
        scene.error.isEmpty() ? eval::compileFieldNativeFirst(scene) : eval::CompiledField();
    if (!field.program) {
        qCWarning(lcAutoBounds)
            << "[export] auto-bounds: evaluator unavailable, keeping requested bounds";
        return;
    }
    const auto makeEvaluator = [&] {
        auto evaluator = std::make_unique<eval::EvalFieldEvaluator>(
            field.program, field.positionHandle, field.distanceHandle);
        evaluator->setCancelFlag(&cancelFlag);
        return evaluator;
    };
    bv::BoundsDetector::Config config;
    config.threads = threads;
    config.evaluatorFactory = makeEvaluator;
    const bv::BoundsDetectionResult found =
        bv::BoundsDetector::detectAdaptive(makeEvaluator().get(), config);
    if (cancelFlag.load())
        return;
    if (!found.success || found.hasUnboundedAxes()) {
        const QString reason = found.success ? found.unboundedDescription() : found.error;
        qCWarning(lcAutoBounds).noquote()
            << u"[export] auto-bounds: detection failed (%1), keeping "
               "requested bounds"_s.arg(reason);
        return;
    }
    if (found.bounds == BoundingVolume(request.boundsMin, request.boundsMax))
        return;
    const BoundingVolume box = padded(found.bounds);
    qCInfo(lcAutoBounds) << "[export] auto-bounds:" << request.boundsMin << request.boundsMax << "→"
                         << box.minimum() << box.maximum();
    request.boundsMin = box.minimum();
    request.boundsMax = box.maximum();
}

} // namespace corvane::xport
