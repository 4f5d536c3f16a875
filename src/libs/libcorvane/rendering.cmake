# The picture: layers, G-buffer, post effects and the pipeline that draws them with a device of rhi.
include(${CMAKE_CURRENT_LIST_DIR}/rendering_post.cmake)

corvane_library(corvane_rendering
    AREAS rendering aa
    SOURCES
        corvane/rendering/AdaptiveQuality.cpp
        corvane/rendering/CameraUniforms.cpp
        corvane/rendering/CorvaneViewportProducer.cpp
        corvane/rendering/DepthCopy.cpp
        corvane/rendering/EnvironmentLayer.cpp
        corvane/rendering/FullScreenQuad.cpp
        corvane/rendering/GBuffer.cpp
        corvane/rendering/GBufferProbe.cpp
        corvane/rendering/Layer.cpp
        corvane/rendering/NodeBuffer.cpp
        corvane/rendering/OffscreenTarget.cpp
        corvane/rendering/RenderOptions.cpp
        corvane/rendering/RenderPipeline.cpp
        corvane/rendering/RenderPipeline.h
        corvane/rendering/RenderStateManager.cpp
        corvane/rendering/RenderStateManager.h
        corvane/rendering/RenderTelemetry.cpp
        corvane/rendering/RhiContext.cpp
        corvane/rendering/SDFRenderLayer.cpp
        corvane/rendering/Scene.cpp
        corvane/rendering/SceneBox.cpp
        corvane/rendering/ScenePass.cpp
        corvane/rendering/ShaderCompile.cpp
        corvane/rendering/SpecialisedField.cpp
        corvane/rendering/ViewportTarget.cpp
        ${CORVANE_RENDERING_POST_SOURCES}
    LINKS batch corvane_camera corvane_environment corvane_field corvane_jobs rhi shader toast Qt6::Core Qt6::GuiPrivate)
corvane_shaders(corvane_rendering rendering_shaders PREFIX / FILES depth_blit.vert depth_blit.frag)
corvane_rendering_post_shaders(corvane_rendering)
