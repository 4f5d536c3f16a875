# The view of a scene and what moves it: pure functions and tables, no window.
corvane_library(corvane_camera
    AREAS camera input
    SOURCES
        corvane/camera/Camera.cpp
        corvane/camera/CameraController.cpp
        corvane/camera/CameraPose.cpp
        corvane/camera/SceneBounds.cpp
        corvane/camera/ViewPreset.cpp
        corvane/input/InputHandler.cpp
        corvane/input/NavigationPreset.cpp
        corvane/input/ViewportInteraction.cpp
    LINKS corvane_field corvane_model Qt6::Core Qt6::Gui)
