# The scene document, its version 1 files, variables and expressions.
corvane_library(corvane_model
    AREAS model expr
    SOURCES
        corvane/model/CatalogMaterial.cpp
        corvane/model/Corvane.cpp
        corvane/model/CorvaneDSLParser.cpp
        corvane/model/CorvaneDefinitions.cpp
        corvane/model/CorvaneFiles.cpp
        corvane/model/CorvaneHierarchy.cpp
        corvane/model/CorvaneItems.cpp
        corvane/model/CorvaneSchemaExtractor.cpp
        corvane/model/CorvaneSelection.cpp
        corvane/model/CorvaneSettings.cpp
        corvane/model/CorvaneVariables.cpp
        corvane/model/Instance.cpp
        corvane/model/ItemTable.cpp
        corvane/model/Material.cpp
        corvane/model/NestedValue.cpp
        corvane/model/ParameterValue.cpp
        corvane/model/PlainValue.cpp
        corvane/model/SceneItem.cpp
        corvane/model/SceneItemView.cpp
        corvane/model/SceneMigrator.cpp
        corvane/model/SceneVersion1Reader.cpp
        corvane/model/SceneVersion1Writer.cpp
        corvane/model/Varset.cpp
        corvane/model/VarsetTable.cpp
        corvane/expr/BuiltinVariables.cpp
        corvane/expr/CompileContext.cpp
        corvane/expr/ExprCompiler.cpp
        corvane/expr/ExprEvaluator.cpp
        corvane/expr/ExprGraph.cpp
        corvane/expr/ExprModel.cpp
        corvane/expr/ExprType.cpp
        corvane/expr/ExpressionManager.cpp
        corvane/expr/NameRewriter.cpp
        corvane/expr/NameScanner.cpp
    LINKS corvane_definitions eval Qt6::Core Qt6::Gui
    PRIVATE_LINKS store)
