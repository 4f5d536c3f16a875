#pragma once

#include <QFlags>

namespace corvane::render {

/// What a frame must redo. A producer of a change names the first thing that it touched.
enum class RenderAction : quint32 {
    RecompileShader = 1,          ///< generate and compile the scene shader
    RebuildPipeline = 2,          ///< recreate pipeline and bindings
    ResizeGBuffer = 4,            ///< G-buffer to its new size
    RebuildSampleTargets = 8,     ///< the sample count changed
    UploadNodes = 16,             ///< node buffer
    UploadUniforms = 32,          ///< uniform buffer
    GeometryPass = 64,            ///< run the G-buffer pass
    ShadingPass = 128,            ///< run the shading pass
    RhiChanged = 256,             ///< a new device
    RebuildShadingPipeline = 512, ///< shading shader and pipeline
    ResetAccumulation = 1024,     ///< frame index back to 0
};
Q_DECLARE_FLAGS(RenderActions, RenderAction)
Q_DECLARE_OPERATORS_FOR_FLAGS(RenderActions)

/// The masks of the changes that recur.
namespace RenderMasks {
inline constexpr RenderActions cameraChanged =
    RenderAction::GeometryPass | RenderAction::ResetAccumulation; ///< 1088
inline constexpr RenderActions sceneStructureChanged = RenderAction::UploadNodes |
                                                       RenderAction::GeometryPass |
                                                       RenderAction::ResetAccumulation; ///< 1104
inline constexpr RenderActions renderingParameterChanged =
    RenderAction::UploadUniforms | RenderAction::GeometryPass |
    RenderAction::ResetAccumulation; ///< 1120
inline constexpr RenderActions definitionsChanged =
    RenderAction::RecompileShader | RenderAction::RebuildPipeline |
    sceneStructureChanged; ///< 1107: another active set, or another registry
inline constexpr RenderActions environmentChanged =
    RenderAction::ShadingPass | RenderAction::RebuildShadingPipeline |
    RenderAction::ResetAccumulation; ///< 1664: another kind of background, another shading mode
inline constexpr RenderActions viewportResized = RenderAction::ResizeGBuffer;
inline constexpr RenderActions sampleCountChanged =
    RenderAction::RebuildPipeline | RenderAction::RebuildSampleTargets; ///< 10
inline constexpr RenderActions everything = RenderActions(0x7ff);
} // namespace RenderMasks

} // namespace corvane::render
