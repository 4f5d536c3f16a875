# Edits of a scene with undo.

corvane_library(corvane_ops
    AREAS ops
    SOURCES
        corvane/ops/ComponentEditOps.cpp
        corvane/ops/ComponentMaterializer.cpp
        corvane/ops/ComponentOps.cpp
        corvane/ops/ComponentState.cpp
        corvane/ops/CorvaneOpDescriber.cpp
        corvane/ops/CorvaneOpExecutor.cpp
        corvane/ops/CorvaneServiceLocator.cpp
        corvane/ops/CorvaneUndoCommand.cpp
        corvane/ops/DefinitionOps.cpp
        corvane/ops/DrivenTransform.cpp
        corvane/ops/ExpressionSnapshot.cpp
        corvane/ops/ItemEditOps.cpp
        corvane/ops/ItemOps.cpp
        corvane/ops/ItemPlaceOps.cpp
        corvane/ops/MaterialOps.cpp
        corvane/ops/NodePlaces.cpp
        corvane/ops/OpCall.cpp
        corvane/ops/OpCatalogue.cpp
        corvane/ops/OpContext.cpp
        corvane/ops/SceneSnapshot.cpp
        corvane/ops/SdfOps.cpp
        corvane/ops/SettingsOps.cpp
        corvane/ops/TransformOps.cpp
        corvane/ops/VarsetOps.cpp
        corvane/ops/WrapperMerge.cpp
    LINKS corvane_model Qt6::Core Qt6::Gui)
