#pragma once

#include <corvane/expr/ExprType.h>
#include <corvane/expr/NodeNames.h>

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

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
    /// Every bound name: variables bare and as "default.name", "varset.name", "InstanceName.param"
    /// with the name of an item or of a node of the tree.
    QMap<QString, ExprType> variables;
    QSet<QString> varsetNames;
    QSet<QString> instanceNames;
    QStringList builtinNames;
    QSet<QString> mathConstantNames;

    /// Binds the parameters of an item under a name, and over what has that name.
    void bindItem(const QString &name, const QVariantMap &params);
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

/// The names by which expressions read an item's parameters; none where others have them.
QStringList readableNames(const model::Corvane &scene, const NodeNames &nodeNames,
                          const model::SceneItem &item);
/// An expression that gives a whole number counts as a number, as a derived variable does.
ExprType typeOfParameter(const QVariant &stored);
/// "name.param" for each parameter of an item of type "sdf".
QMap<QString, ExprType> parameterTypes(const QString &name, const QVariantMap &params);
/// The type that the entry names, with the size of its value where that is "vector"; where it names
/// none, the type of its value. Unknown for a derived variable that says nothing.
ExprType typeOfVariable(const model::VarsetEntry &entry);

} // namespace corvane::expr
