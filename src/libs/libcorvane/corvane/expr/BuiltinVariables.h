#pragma once

#include <corvane/expr/ExprType.h>

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

namespace corvane::model {
class Corvane;
}

namespace corvane::expr {

using Values = QMap<QString, QVariant>;

/// A name that every expression may use.
struct BuiltinVariable
{
    using CpuValue = QVariant (*)(const model::Corvane &);

    QString name{};
    ExprType type = ExprType::Float;
    QString description{};
    CpuValue cpuValue = nullptr; ///< none for what only the field's evaluators know
};

const QList<BuiltinVariable> &builtinVariables();
/// Adds those that have a value off the render path.
void bindBuiltinCpuValues(Values &values, const model::Corvane &scene);

/// "math.PI" and its like: floats of 32 bits.
const Values &mathConstants();
void bindMathConstants(Values &values);

} // namespace corvane::expr
