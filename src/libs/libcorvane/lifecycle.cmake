# How a scene is opened, saved and closed; nothing here needs a window.
corvane_library(corvane_lifecycle
    AREAS lifecycle
    SOURCES
        corvane/lifecycle/SceneLifecycle.cpp
    LINKS corvane_ops corvane_asset store toast Qt6::Core)
