#include <corvane/camera/SceneBounds.h>

#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/PartBounds.h>
#include <corvane/eval/FieldCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFNodeBuilder.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::camera {

namespace {

/// A tenth of what an export spends: a frame need not be exact to a cell.
constexpr long long proofBudget = 1'400'000;
constexpr int coarseSide = 16; ///< samples along a side of a box
constexpr int fineSide = 32;
constexpr int mostDoublings = 16;
constexpr int farSamples = 512;
constexpr float goldenAngle = 2.39996323f;
/// Where a scene is exported that says nothing else.
const BoundingVolume usualBox({-5, -5, -5}, {5, 5, 5});
/// Of the box that is probed, which is what the proof is exact to.
constexpr float toleranceShare = 0.01f;

/// Whether a solid is met at the edge of the searched range: probing one that repeats for ever,
/// hole after hole along each ray, took seconds to say so.
bool reachesFarAway(eval::IFieldEvaluator &field)
{
    const float radius = 0.95f * bv::BoundsDetector::Config().maxSearchRadius;
    for (int i = 0; i < farSamples; ++i) {
        // Points of even density on a sphere (Fibonacci): no symmetry of a lattice meets them all.
        const float y = 1.0f - (2.0f * float(i) + 1.0f) / farSamples;
        const float ring = std::sqrt(1.0f - y * y);
        const float turn = float(i) * goldenAngle;
        if (field.evaluate(radius * ring * std::cos(turn), radius * y,
                           radius * ring * std::sin(turn)) < 0.0f)
            return true;
    }
    return false;
}

/// The box of the samples inside the solid, with a cell around, on a grid whose first and last
/// points lie on the faces of a box; `touches` says whether some of those inside do.
BoundingVolume sampledBox(const BoundingVolume &box, int side, eval::IFieldEvaluator &field,
                          bool &touches)
{
    const QVector3D step = box.extent() / float(side - 1);
    const auto isEnd = [side](int index) { return index == 0 || index == side - 1; };
    std::vector<float> xs(side);
    for (int i = 0; i < side; ++i)
        xs[i] = box.minimum().x() + step.x() * float(i);
    std::vector<float> row(side);
    BoundingVolume found;
    touches = false;
    for (int jk = 0; jk < side * side; ++jk) {
        const float y = box.minimum().y() + step.y() * float(jk % side);
        const float z = box.minimum().z() + step.z() * float(jk / side);
        field.evaluateRow(xs, y, z, row);
        for (int i = 0; i < side; ++i) {
            if (!(row[i] < 0.0f))
                continue;
            found.expand({xs[i], y, z});
            touches |= isEnd(i) || isEnd(jk % side) || isEnd(jk / side);
        }
    }
    return found.grownBy(step).intersected(box);
}

/// A field that is steeper than a distance leads probes past its surface, so that their box may be
/// but a part of it: one that the solid goes through is doubled until it does not, then sampled.
BoundingVolume repairedBox(const BoundingVolume &probed, eval::IFieldEvaluator &field)
{
    BoundingVolume box = probed;
    bool touches = true;
    BoundingVolume found = sampledBox(box, coarseSide, field, touches);
    if (!touches)
        return probed;
    for (int round = 0; touches && round < mostDoublings; ++round) {
        box = box.grownBy(box.extent() * 0.5f);
        found = sampledBox(box, coarseSide, field, touches);
    }
    return touches || found.isEmpty() ? probed : sampledBox(found, fineSide, field, touches);
}

} // namespace

BoundingVolume fieldAabb(const QList<shader::SDFNode> &nodes, int rootIndex,
                         const eval::DefinitionTable &definitions)
{
    auto built = eval::SdfSceneGraphBuilder::build(nodes, rootIndex, definitions);
    return built.error.isEmpty()
               ? fieldAabb(eval::compileField(built, ::eval::Backend::Interpreted))
               : BoundingVolume();
}

BoundingVolume fieldAabb(const eval::CompiledField &field)
{
    if (!field.program)
        return {};
    eval::EvalFieldEvaluator evaluator(field.program, field.positionHandle, field.distanceHandle);
    if (reachesFarAway(evaluator))
        return {};
    const auto probed = bv::BoundsDetector::detectAdaptive(&evaluator);
    if (probed.hasUnboundedAxes())
        return {};
    // Probes miss slim parts, which the proof then finds from nothing.
    const BoundingVolume start = probed.success ? probed.bounds : usualBox;
    bv::FieldIntervals intervals(field);
    const bv::PartBounds part =
        bv::findPartBounds(intervals, probed,
                           {.requested = start,
                            .cellSize = toleranceShare * std::max(start.longestSide(), 1e-3f),
                            .budget = proofBudget});
    switch (part.kind) {
    case bv::PartBounds::Kind::Proved:
        return part.box;
    case bv::PartBounds::Kind::Probed:
        return repairedBox(part.box, evaluator);
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
