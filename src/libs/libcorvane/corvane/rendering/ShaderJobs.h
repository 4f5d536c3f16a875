#pragma once

namespace batch {
class BatchQueue;
}

namespace corvane::store {
template<typename Context>
class BatchContextStore;
}

namespace corvane::shader {
struct ShaderBuildContext;
struct ShadingPipelineContext;
} // namespace corvane::shader

namespace corvane::rendering {

/// Where shaders are compiled as jobs, so that the thread that draws never waits for a compiler.
/// All of it outlives who uses it. Without a queue shaders are compiled at once.
struct ShaderJobs
{
    batch::BatchQueue *queue = nullptr;
    store::BatchContextStore<shader::ShaderBuildContext> *builds = nullptr;
    store::BatchContextStore<shader::ShadingPipelineContext> *shadings = nullptr;
};

} // namespace corvane::rendering
