# The picture: layers, G-buffer, post effects and the pipeline that draws them with a device of rhi.
include(${CMAKE_CURRENT_LIST_DIR}/rendering_post.cmake)

corvane_library(corvane_rendering
    AREAS rendering aa
    SOURCES
        corvane/rendering/GBuffer.cpp
        corvane/rendering/Layer.cpp
        corvane/rendering/OffscreenTarget.cpp
        corvane/rendering/RenderStateManager.cpp
        corvane/rendering/RenderStateManager.h
        corvane/rendering/RenderTelemetry.cpp
        corvane/rendering/RhiContext.cpp
        corvane/rendering/Scene.cpp
        ${CORVANE_RENDERING_POST_SOURCES}
    LINKS corvane_field rhi shader toast Qt6::Core Qt6::GuiPrivate)
corvane_rendering_post_shaders(corvane_rendering)
