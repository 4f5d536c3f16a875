#include <corvane/rendering/SceneBox.h>

#include <corvane/bv/BoundsDetector.h>
#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/eval/EvalFieldEvaluator.h>
#include <corvane/eval/FieldCompiler.h>

namespace corvane::rendering {

namespace {

/// Of rays that are drawn to stay in it: the box is that of the surface to the last bit.
constexpr float roomShare = 1e-3f;

bv::BoundsDetectionResult probe(const eval::CompiledField &field, int threads,
                                const std::atomic_bool &cancelFlag)
{
    bv::BoundsDetector::Config config;
    config.threads = threads;
    config.evaluatorFactory = [&] {
        auto evaluator = std::make_unique<eval::EvalFieldEvaluator>(
            field.program, field.positionHandle, field.distanceHandle);
        evaluator->setCancelFlag(&cancelFlag);
        return evaluator;
    };
    return bv::BoundsDetector::detectAdaptive(config.evaluatorFactory().get(), config);
}

} // namespace

SceneBox findSceneBox(const QList<shader::SDFNode> &nodes, int rootIndex,
                      const eval::DefinitionTable &definitions, int threads,
                      const std::atomic_bool &cancelFlag)
{
    auto scene = eval::SdfSceneGraphBuilder::build(nodes, rootIndex, definitions);
    if (!scene.error.isEmpty())
        return {};
    const eval::CompiledField field = eval::compileField(scene, ::eval::Backend::Interpreted);
    if (!field.program)
        return {};
    const bv::BoundsDetectionResult probed = probe(field, threads, cancelFlag);
    bv::FieldIntervals intervals(field);
    intervals.setCancelFlag(&cancelFlag);
    // Nothing was requested: where there is no proof the probes' word is all there is.
    const bv::PartBounds part =
        bv::findPartBounds(intervals, probed, {.requested = probed.bounds, .cellSize = 0.0f});
    if (cancelFlag.load())
        return {};
    if (part.kind == bv::PartBounds::Kind::Proved) {
        const float room = roomShare * part.box.longestSide();
        return {.box = part.box.grownBy({room, room, room}), .isProved = true};
    }
    return {.box = probed.success ? probed.bounds : BoundingVolume()};
}

} // namespace corvane::rendering
