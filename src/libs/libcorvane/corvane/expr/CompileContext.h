#pragma once

#include <corvane/expr/ExprType.h>
#include <corvane/expr/NodeNames.h>

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

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
    /// Variables, bare and as "default.name" and "varset.name".
    QMap<QString, ExprType> variables;
    /// By the name of an item or of a node of the tree: what "InstanceName.param" reads. They are
    /// shared with the items, since a scene has more parameters than anything ever reads; a
    /// variable of the same full name wins.
    QHash<QString, QVariantMap> instances;
    QSet<QString> varsetNames;
    QStringList builtinNames;
    QSet<QString> mathConstantNames;

    /// The type of a variable or of a parameter.
    std::optional<ExprType> boundType(const QString &name) const;
    /// A variable, a parameter, a built-in or a constant.
    bool isKnown(const QString &name) const;
    /// Unknown for a name that is not.
    ExprType typeOf(const QString &name) const;
    /// Whether a name may be followed by ".name" to make a longer one.
    bool isScope(const QString &head) const;
    /// Whether all variables and parameters of another context are here, with the same types.
    bool includes(const CompileContext &other) const;
};

/// Where "InstanceName.param" may be parted: each dot of the name in turn, since both halves may
/// have dots of their own.
///
/// @param visit  bool(instanceName, param); true ends the search, and is the answer
template<class Visit>
bool anyParting(const QString &name, const Visit &visit)
{
    for (qsizetype dot = name.indexOf(u'.'); dot >= 0; dot = name.indexOf(u'.', dot + 1)) {
        if (visit(name.first(dot), name.sliced(dot + 1)))
            return true;
    }
    return false;
}

/// The built-ins and the constants, and all variables and parameters of a scene. Linear in the
/// items.
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
