#pragma once

#include <corvane/expr/ExprType.h>

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane::model {
class Corvane;
struct SceneItem;
struct VarsetEntry;
} // namespace corvane::model

namespace corvane::expr {

/// The names that an expression may use, with their types.
///
/// A plain value: an expression compiled against a copy does not follow later changes of the scene.
struct CompileContext
{
    /// Every bound name: variables bare and as "default.name", "varset.name", "InstanceName.param".
    QMap<QString, ExprType> variables;
    QSet<QString> varsetNames;
    QSet<QString> instanceNames;
    QStringList builtinNames;
    QSet<QString> mathConstantNames;

    /// In `variables`, a built-in or a constant.
    bool isKnown(const QString &name) const;
    /// Unknown for a name that is not.
    ExprType typeOf(const QString &name) const;
    /// Whether a name may be followed by ".name" to make a longer one.
    bool isScope(const QString &head) const;
};

/// The built-ins and the constants, and all variables and parameters of a scene.
CompileContext buildCompileContext(const model::Corvane &scene);
/// The same without the parameters.
CompileContext buildVariableContext(const model::Corvane &scene);

/// Whether an item is the one that the document finds by its name; others may share the name.
bool isMeantByItsName(const model::Corvane &scene, const model::SceneItem &item);
/// "InstanceName.param" for each parameter of a named item of type "sdf". An expression that gives
/// a whole number counts as a number, as a derived variable does.
QMap<QString, ExprType> parameterTypes(const model::SceneItem &item);
/// The type that the entry names, with the size of its value where that is "vector"; where it names
/// none, the type of its value. Unknown for a derived variable that says nothing.
ExprType typeOfVariable(const model::VarsetEntry &entry);

} // namespace corvane::expr
