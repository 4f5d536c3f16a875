#pragma once

#include <corvane/expr/CompileContext.h>
#include <corvane/expr/ExprGraph.h>
#include <corvane/model/VarsetTable.h>

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QUuid>
#include <QVector3D>

namespace corvane::model {
class Corvane;
class Instance;
struct SceneItem;
} // namespace corvane::model

namespace corvane::expr {

/// All expressions of a scene, compiled and linked. A plain value.
///
/// The graph has the parameters that are expressions or are read by one, not all that there are:
/// of a hundred thousand items few are read, and a node for each parameter was most of the memory
/// of a large scene.
struct ExprModel
{
    /// What of a variable the graph depends on: its value may change under it, this may not.
    struct VariableShape
    {
        QString expression{};
        ExprType type = ExprType::Unknown;

        bool operator==(const VariableShape &) const = default;
    };

    /// What of an item the model was made of.
    struct ItemState
    {
        QString name{};
        QString nodeName{};
        QVariantMap typeData{};
        QVector3D translate{};
        QVector3D rotate{};
        QVector3D scale{};

        bool operator==(const ItemState &) const = default;
    };

    CompileContext context{};
    ExprGraph graph{};
    NodeNames nodeNames{};
    QMap<QUuid, ItemState> items{};           ///< those of type "sdf"
    QHash<QString, QUuid> named{};            ///< whose parameters a name reads
    QSet<QString> varsetExpressions{};        ///< nodes that are derived variables
    QMap<QString, VariableShape> variables{}; ///< by the name that addresses them
    QMap<QString, QString> errors{};          ///< what does not compile, by node; a cycle under ""

    /// The value of an item's parameter, whether it is in the graph or not; none for another.
    QVariant parameter(const QUuid &id, const QString &param) const;
};

/// The graph's node of a parameter: the uuid without braces, a dot, the name.
QString parameterNode(const QUuid &instanceId, const QString &param);
/// Back from it; false for a node that is none.
bool splitParameterNode(const QString &node, QUuid &instanceId, QString &param);
/// A node as a user knows it: parameters as "InstanceName.param".
QString nodeLabel(const model::Corvane *scene, const QString &node);

/// The field of an item that a parameter of this name drives; none for any other name.
QVector3D model::SceneItem::*drivenField(const QString &param);

/// The type that others see of a derived variable. A whole number is a number here too: "half =
/// count / 2" must not become a division of integers because count's expression happens to give
/// one.
ExprType typeOfDerived(const model::VarsetEntry &entry, ExprType result);

/// What ExprModel::variables would be for the scene as it is now.
QMap<QString, ExprModel::VariableShape> variableShapes(const model::Corvane &scene);

/// Makes models of scenes, and keeps one in step with a single item.
///
/// Derived variables are compiled in the order in which they read each other, so that the type of
/// one that names none is what its expression gives. Linear in the scene, up to the ordering of
/// names.
class ExprModelBuilder
{
public:
    explicit ExprModelBuilder(const model::Corvane &scene)
        : m_scene(scene)
    {}

    /// What an item's parameters did to a model, each being more than the one before. After `Names`
    /// expressions elsewhere have to be compiled anew: only another build() does that.
    enum class Change { None, Value, Expression, Names };

    ExprModel build();
    /// Brings a model to the items that the scene has now, whatever came, went or changed. The cost
    /// is a comparison for each item that did not. `changed` gets the items that are there and
    /// differ.
    Change updateItems(ExprModel &model, QList<QUuid> &changed) const;
    /// The names alone, with the types that derived variables come to.
    CompileContext buildContext() const;
    /// Brings a model to the parameters that an item has now.
    Change updateInstance(ExprModel &model, const model::Instance &instance) const;
    /// Brings the names of an item's parameters to the types that their values have now. True when
    /// expressions that are compiled already would see others.
    bool updateNames(ExprModel &model, const model::Instance &instance) const;
    /// The same for an item that is as the model has it, but for what its expressions gave.
    bool takeResults(ExprModel &model, const model::Instance &instance) const;

private:
    struct StoredChange
    {
        QVariant before{};
        QVariant now{};
    };

    void addVariables(ExprModel &model) const;
    QStringList compileOrder(const ExprModel &model, const model::VarsetEntries &derived) const;
    void addInstance(ExprModel &model, const model::Instance &instance) const;
    QList<QUuid> differingItems(ExprModel &model) const;
    Change updateItemsOf(ExprModel &model, const QList<QUuid> &ids) const;
    bool moveNames(ExprModel &model, const QList<QUuid> &ids) const;
    bool moveName(ExprModel &model, const QString &name) const;
    void removeItem(ExprModel &model, const QUuid &id) const;
    Change updateParameters(ExprModel &model, const model::Instance &instance) const;
    Change updateParameter(ExprModel &model, const model::Instance &instance, const QString &param,
                           const StoredChange &stored) const;
    /// True when an expression reads one of them by name.
    bool removeParameters(ExprModel &model, const QStringList &names, const QUuid &id,
                          const QStringList &gone) const;
    void linkParameterNames(ExprModel &model) const;
    void linkParameterNames(ExprModel &model, const QStringList &names) const;
    void reportCycles(ExprModel &model) const;

    const model::Corvane &m_scene;
};

} // namespace corvane::expr
