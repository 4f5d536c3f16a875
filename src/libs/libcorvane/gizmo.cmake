# Handles in the picture: where they lie, what is under the cursor, what a drag means. No device.
corvane_library(corvane_gizmo
    AREAS gizmo
    SOURCES
        corvane/gizmo/DefinitionHandles.cpp
        corvane/gizmo/DragValue.cpp
        corvane/gizmo/GizmoHandleSpec.cpp
        corvane/gizmo/GizmoInteractor.cpp
        corvane/gizmo/GizmoInteractor.h
        corvane/gizmo/GizmoProjection.cpp
        corvane/gizmo/GizmoStyle.cpp
        corvane/gizmo/HandleShape.cpp
    LINKS corvane_camera corvane_definitions Qt6::Core Qt6::Gui)
