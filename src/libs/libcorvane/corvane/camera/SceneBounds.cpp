#include <corvane/camera/SceneBounds.h>

#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFNodeBuilder.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <algorithm>

namespace corvane::camera {

namespace {

/// A tenth of what an export spends: a frame need not be exact to a cell.
constexpr long long proofBudget = 1'400'000;
/// Of the box that is probed, which is what the proof is exact to.
constexpr float toleranceShare = 0.01f;

} // namespace

BoundingVolume fieldAabb(const QList<shader::SDFNode> &nodes, int rootIndex,
                         const eval::DefinitionTable &definitions)
{
    auto built = eval::SdfSceneGraphBuilder::build(nodes, rootIndex, definitions);
    return built.error.isEmpty() ? fieldAabb(eval::compileField(built, ::eval::Backend::Interpreted))
                                 : BoundingVolume();
}

BoundingVolume fieldAabb(const eval::CompiledField &field)
{
    if (!field.program)
        return {};
    eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle, field.distanceHandle);
    const auto probed = bv::BoundsDetector::detectAdaptive(&evaluator);
    if (!probed.success || probed.hasUnboundedAxes())
        return {};
    bv::FieldIntervals intervals(field);
    const bv::PartBounds part = bv::findPartBounds(
        intervals, probed,
        {.requested = probed.bounds,
         .cellSize = toleranceShare * std::max(probed.bounds.longestSide(), 1e-3f),
         .budget = proofBudget});
    switch (part.kind) {
    case bv::PartBounds::Kind::Proved:
    case bv::PartBounds::Kind::Probed:
        return part.box;
    case bv::PartBounds::Kind::Endless:
    case bv::PartBounds::Kind::Nothing:
        break;
    }
    return {};
}

BoundingVolume sceneAabb(const model::Corvane &scene)
{
    registry::Registry &registry = registry::Registry::instance();
    const shader::SDFShaderGenerator generator(&registry);
    BoundingVolume all;
    QList<QUuid> domains{QUuid()};
    const auto items = scene.items();
    for (const model::SceneItem &item : items)
        if (item.itemType == model::ItemTypes::SdfDomain)
            domains.append(item.id);
    for (const QUuid &domain : std::as_const(domains)) {
        render::SDFNodeBuilder builder(&generator);
        const int root = domains.size() == 1 ? builder.buildWithoutDomains(&scene)
                                             : builder.buildFromDomain(&scene, domain);
        if (root >= 0)
            all = all.united(fieldAabb(
                builder.nodes(), root,
                eval::DefinitionTable::collect(builder.nodes(), registry, generator.indices())));
    }
    return all;
}

} // namespace corvane::camera
