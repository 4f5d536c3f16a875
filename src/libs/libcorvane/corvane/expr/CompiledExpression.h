#pragma once

#include <corvane/expr/ExprType.h>

#include <eval/Program.h>

#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>

namespace corvane::expr {

struct ExprError
{
    QString message{};
    int position = 0; ///< character of the expression's text, from 0

    bool operator==(const ExprError &) const = default;
};

/// A name that an expression reads, and the input that carries it into the program.
struct ExprBinding
{
    QString name{}; ///< as in CompileContext::variables
    ExprType type = ExprType::Unknown;
    ::eval::Handle handle = 0;
};

/// An expression's text and what became of it. Copies share the program.
struct CompiledExpression
{
    QString source{};
    QStringList
        dependencies; ///< names read, each once, constants among them; "default." is left off
    ExprType resultType = ExprType::Unknown;
    QVariant constantValue{}; ///< the value, where it depends on no name but constants
    QList<ExprError> errors{};

    QSharedPointer<::eval::Program> program{};
    QList<ExprBinding> bindings{};
    ::eval::Handle result = 0;

    bool isValid() const { return errors.isEmpty() && program; }
};

/// A parameter whose expression reads some name.
struct ExpressionReference
{
    QUuid instanceId{};  ///< null for a variable's expression
    QString paramName{}; ///< the variable's name then
    QString expression{};

    bool operator==(const ExpressionReference &) const = default;
};

} // namespace corvane::expr
