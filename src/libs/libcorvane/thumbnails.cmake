# Small pictures of definitions and scenes, drawn on a thread and a device of their own.
corvane_library(corvane_thumbnails
    AREAS rendering/thumbnail
    SOURCES
        corvane/rendering/thumbnail/SDFThumbnailGenerator.cpp
        corvane/rendering/thumbnail/ThumbnailCache.cpp
        corvane/rendering/thumbnail/ThumbnailPicture.cpp
        corvane/rendering/thumbnail/ThumbnailQueue.cpp
        corvane/rendering/thumbnail/ThumbnailRHIContext.cpp
        corvane/rendering/thumbnail/ThumbnailSubjects.cpp
        corvane/rendering/thumbnail/ThumbnailUniforms.cpp
        corvane/rendering/thumbnail/ThumbnailView.cpp
        corvane/rendering/thumbnail/ThumbnailWorker.cpp
    LINKS corvane_camera corvane_environment corvane_field rhi shader Qt6::Core Qt6::GuiPrivate
    PRIVATE_LINKS store)

corvane_resources(corvane_thumbnails thumbnail_templates
    PREFIX / BASE ${CMAKE_SOURCE_DIR}/resources
    FILES ${CMAKE_SOURCE_DIR}/resources/templates/thumbnail.frag.in)
