#pragma once

#include <corvane/registry/NodeType.h>

#include <QString>
#include <QStringList>

namespace corvane::registry {

/// What the functions of a definition's code say about it.
struct SignatureAnalysisResult
{
    bool valid = false;
    NodeType nodeType = NodeType::Unknown;
    QString primaryFunctionName;
    QString returnType;
    QStringList parameterTypes;
    int operationType = -1; ///< of a CSG operator: 0 union to 9 xor, -1 for any other
    bool isOperator = false;
    QStringList helperFunctions; ///< all functions but the primary one
    QString errorMessage;        ///< when not valid

    bool operator==(const SignatureAnalysisResult &) const = default;
};

} // namespace corvane::registry
