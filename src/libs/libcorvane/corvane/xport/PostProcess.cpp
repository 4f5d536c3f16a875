#include <corvane/xport/PostProcess.h>

#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/xport/PostProcessStep.h>

#include <mesh/process/CoplanarMerge.h>
#include <mesh/process/IsotropicRemesh.h>
#include <mesh/process/QuadricSimplification.h>
#include <mesh/process/SdfProjection.h>
#include <mesh/process/VertexMerger.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>
#include <vector>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

namespace process = ::mesh::process;
using SurfaceMesh = ::mesh::Mesh<float>;
using Sampler = process::BlockSampler<float>;
using Done = ::mesh::io::Result<void>;

/// One step as it is to run.
struct Call
{
    const PostProcessStep &step;
    const Sampler &sampler;
    ::mesh::io::Progress progress;

    double parameterOr(double fallback) const
    {
        return step.hasParameter ? step.parameter : fallback;
    }
    process::ProcessOptions options(const QVariantMap &parameters) const
    {
        return {.parameters = parameters, .progress = progress};
    }
};

Done weld(SurfaceMesh &mesh, const Call &call)
{
    using Merger = process::VertexMerger<float>;
    return Merger().process(
        mesh, call.options({{u"tolerance"_s, call.parameterOr(Merger::defaultTolerance)}}));
}

Done sdfProject(SurfaceMesh &mesh, const Call &call)
{
    using Projection = process::SdfProjection<float>;
    constexpr double most = 1000; // the step clamps further, and needs an int
    const double wanted =
        std::clamp(std::round(call.parameterOr(Projection::defaultIterations)), -most, most);
    return Projection({.blocks = call.sampler, .featureAngle = 30, .tangentialStep = 0.5})
        .process(mesh, call.options({{u"iterations"_s, static_cast<int>(wanted)}}));
}

Done remesh(SurfaceMesh &mesh, const Call &call)
{
    QVariantMap parameters;
    if (call.step.hasParameter)
        parameters.insert(u"targetEdgeLength"_s, call.step.parameter);
    return process::IsotropicRemesh<float>(
               {.blocks = call.sampler, .iterations = 3, .featureAngle = 45, .projectionStep = 0.5})
        .process(mesh, call.options(parameters));
}

Done coplanarMerge(SurfaceMesh &mesh, const Call &call)
{
    constexpr int budget = 10'000;
    return process::CoplanarMerge<float>(budget).process(
        mesh, call.options({{u"angleToleranceDeg"_s, call.parameterOr(1.0)}}));
}

Done qemDecimate(SurfaceMesh &mesh, const Call &call)
{
    constexpr double smallestRatio = 0.01;
    const double ratio = std::clamp(call.parameterOr(0.5), smallestRatio, 1.0);
    return process::QuadricSimplification<float>(
               {.preserveBoundary = true, .featureAngle = 30, .featureWeight = 100})
        .process(mesh, call.options({{u"targetRatio"_s, ratio}}));
}

struct StepEntry
{
    QLatin1String name;
    Done (*run)(SurfaceMesh &, const Call &);
    bool needsField;
};

constexpr StepEntry stepTable[] = {
    // name              function       field
    {"weld"_L1, weld, false},
    {"sdfProject"_L1, sdfProject, true},
    {"remesh"_L1, remesh, true},
    {"coplanarMerge"_L1, coplanarMerge, false},
    {"qemDecimate"_L1, qemDecimate, false},
};

/// For a name that parsePostProcess let through.
const StepEntry &entryOf(const PostProcessStep &step)
{
    return *std::find_if(std::begin(stepTable), std::end(stepTable),
                         [&](const StepEntry &entry) { return step.name == entry.name; });
}

Sampler samplerOf(eval::IFieldEvaluator &field)
{
    return [&field](std::span<const ::mesh::Vector3<float>> points,
                    std::span<process::SdfSample<float>> samples) {
        std::vector<float> xs, ys, zs;
        for (const ::mesh::Vector3<float> &point : points) {
            xs.push_back(point.x);
            ys.push_back(point.y);
            zs.push_back(point.z);
        }
        std::vector<eval::DistanceGradient> values(points.size());
        field.evaluateWithGradients(xs, ys, zs, values);
        std::ranges::transform(values, samples.begin(), [](const eval::DistanceGradient &at) {
            return process::SdfSample<float>{at.distance,
                                             {at.gradientX, at.gradientY, at.gradientZ}};
        });
    };
}

QString runStep(SurfaceMesh &mesh, const Call &call)
{
    const StepEntry &entry = entryOf(call.step);
    if (entry.needsField && !call.sampler)
        return u"%1 needs a field evaluator"_s.arg(call.step.name);
    const Done done = entry.run(mesh, call);
    return done ? QString() : done.error().message;
}

} // namespace

QString postProcess(SurfaceMesh &mesh, const ExportRequest &request,
                    const eval::DefinitionTable &definitions, const std::atomic_bool &cancelFlag)
{
    const PostProcessPlan plan = parsePostProcess(request.postprocess);
    if (!plan.error.isEmpty() || mesh.elements.isEmpty())
        return plan.error;
    std::unique_ptr<eval::CPUFieldEvaluator> field;
    const bool needsField =
        std::any_of(plan.steps.begin(), plan.steps.end(),
                    [](const PostProcessStep &step) { return entryOf(step).needsField; });
    if (needsField && !request.nodes.isEmpty()) {
        field = std::make_unique<eval::CPUFieldEvaluator>(request.nodes, request.rootNodeIndex,
                                                          definitions);
        if (!field->isValid())
            return u"post-process evaluator failed: %1"_s.arg(field->lastError());
        field->setCancelFlag(&cancelFlag);
    }
    const Sampler sampler = field ? samplerOf(*field) : Sampler();
    const auto goOn = [&cancelFlag](qint64, qint64) { return !cancelFlag.load(); };
    for (const PostProcessStep &step : plan.steps) {
        const QString error = runStep(mesh, {step, sampler, goOn});
        if (cancelFlag.load())
            return {};
        if (!error.isEmpty())
            return u"post-process failed: %1"_s.arg(error);
    }
    return {};
}

} // namespace corvane::xport
