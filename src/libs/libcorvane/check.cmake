# What in a scene its author most likely does not mean.
corvane_library(corvane_check
    AREAS check
    SOURCES
        corvane/check/BlockCheck.cpp
        corvane/check/DefinitionLines.cpp
        corvane/check/ExpressionCheck.cpp
        corvane/check/Findings.cpp
        corvane/check/GraphCheck.cpp
        corvane/check/KeyLines.cpp
        corvane/check/KeyTables.cpp
        corvane/check/LayoutCheck.cpp
        corvane/check/NodeCheck.cpp
        corvane/check/SceneCheck.cpp
        corvane/check/SettingsCheck.cpp
        corvane/check/ValueCheck.cpp
        corvane/check/VariableCheck.cpp
    LINKS corvane_field corvane_model Qt6::Core)
