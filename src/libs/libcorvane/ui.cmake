# The window's parts: a folder a panel, and what all of them share (look, fields). Controllers stand apart from widgets.
if(NOT TARGET Qt6::Widgets)
    return()
endif()

corvane_library(corvane_ui
    AREAS ui
    SOURCES
        corvane/ui/fields/CompletionPopup.cpp
        corvane/ui/fields/ComponentTarget.cpp
        corvane/ui/fields/DragMapping.cpp
        corvane/ui/fields/ExpressionScope.cpp
        corvane/ui/fields/FieldMenu.cpp
        corvane/ui/fields/FieldTarget.cpp
        corvane/ui/fields/FieldWidget.cpp
        corvane/ui/fields/FunctionTable.cpp
        corvane/ui/fields/NamePrompt.cpp
        corvane/ui/fields/NumberController.cpp
        corvane/ui/fields/NumberEdit.cpp
        corvane/ui/fields/NumberField.cpp
        corvane/ui/fields/NumberSpec.cpp
        corvane/ui/fields/SimpleFields.cpp
        corvane/ui/fields/VectorField.cpp
        corvane/ui/fields/makeField.cpp
        corvane/ui/look/Contrast.cpp
        corvane/ui/look/Fonts.cpp
        corvane/ui/look/IconSet.cpp
        corvane/ui/look/Metrics.cpp
        corvane/ui/look/OndrelStyle.cpp
        corvane/ui/look/StylePainter.cpp
        corvane/ui/look/Theme.cpp
        corvane/ui/picker/FuzzyMatch.cpp
        corvane/ui/picker/KindIcons.cpp
        corvane/ui/picker/NodeAdder.cpp
        corvane/ui/picker/PickerModel.cpp
        corvane/ui/picker/PickerPopup.cpp
        corvane/ui/picker/PickerUsage.cpp
        corvane/ui/properties/PropertiesContent.cpp
        corvane/ui/properties/PropertiesPanel.cpp
        corvane/ui/properties/SectionBox.cpp
        corvane/ui/targets/NodeTargets.cpp
        corvane/ui/targets/OpTarget.cpp
        corvane/ui/targets/VariableTarget.cpp
        corvane/ui/tree/SceneActions.cpp
        corvane/ui/tree/SceneTreeDelegate.cpp
        corvane/ui/tree/SceneTreePanel.cpp
        corvane/ui/tree/treeOrder.cpp
        corvane/ui/variables/VariableEditor.cpp
        corvane/ui/variables/VariableList.cpp
        corvane/ui/variables/VariableWidget.cpp
        corvane/ui/variables/VariablesPanel.cpp
    LINKS corvane_item corvane_lifecycle toast_widgets batch_widgets Qt6::Widgets)
corvane_resources(corvane_ui ui_fonts PREFIX /fonts BASE ${CMAKE_SOURCE_DIR}/resources/fonts
    FILES ${CMAKE_SOURCE_DIR}/resources/fonts/Dosis/OndrelDosis-VF.ttf)
# Drawn by Qt's SVG plugin, which is loaded where it is installed: nothing is linked for it.
file(GLOB icons CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/icons/lucide/*.svg)
corvane_resources(corvane_ui ui_icons PREFIX /icons BASE ${CMAKE_SOURCE_DIR}/resources/icons FILES ${icons})
