# What panels show of a scene, and the actions behind them.
corvane_library(corvane_item
    AREAS item
    SOURCES
        corvane/item/DocumentRows.cpp
        corvane/item/GenericTree.cpp
        corvane/item/GenericTreeItem.cpp
        corvane/item/ItemRegistry.cpp
        corvane/item/IScenePanelModel.h
        corvane/item/SceneManager.cpp
        corvane/item/ScenePanelEdits.cpp
        corvane/item/ScenePanelItemModel.cpp
        corvane/item/ScenePanelModelAdapter.cpp
        corvane/item/SceneTreeEntries.cpp
        corvane/item/StructureRows.cpp
    LINKS corvane_ops Qt6::Core Qt6::Gui)
