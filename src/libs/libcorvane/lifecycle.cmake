# How a scene is opened, saved and closed; nothing here needs a window.
corvane_library(corvane_lifecycle
    AREAS lifecycle
    SOURCES
        corvane/lifecycle/AnimationClock.cpp
        corvane/lifecycle/RecoveryKeeper.cpp
        corvane/lifecycle/RecoveryStore.cpp
        corvane/lifecycle/SceneFileWatch.cpp
        corvane/lifecycle/SceneLifecycle.cpp
        corvane/lifecycle/SceneReader.cpp
        corvane/lifecycle/SceneSession.cpp
        corvane/lifecycle/SceneSessionSaving.cpp
    LINKS corvane_ops corvane_asset store toast Qt6::Core)
