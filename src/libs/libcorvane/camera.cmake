# The view of a scene and what moves it: pure functions and tables, no window.
corvane_library(corvane_camera
    AREAS camera input
    SOURCES
        corvane/camera/Camera.cpp
    LINKS corvane_field corvane_model Qt6::Core Qt6::Gui)
