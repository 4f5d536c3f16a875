#pragma once

#include <corvane/model/Material.h>
#include <corvane/tasks/SceneAccess.h>

#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QVariantMap>
#include <QVector3D>

#include <optional>

namespace corvane::model {
struct LogicalInstance;
struct SceneItem;
} // namespace corvane::model

namespace corvane::zirn {

/// An item of the scene as tasks show it, whether it is a node of the tree or an item of the
/// document. A copy.
struct SceneRecord
{
    QUuid id{};
    QString name{};
    QString type{}; ///< "sdf", "group", "mesh", ...
    QUuid parentId{};
    QString definitionId{};
    QString componentId{};
    QVariantMap params{};
    QVariantMap modifiers{};
    QVariantMap typeData{}; ///< of items that are not of the field
    QVector3D translate{}, rotate{}, scale{1.0f, 1.0f, 1.0f};
    model::Material material{};
    QUuid materialId{};
    QSet<QString> tags{};
    QList<QUuid> children{};

    /// `id`, `name`, `type`, `parentId`.
    QJsonObject summary() const;
    /// `id`, `name`, `type`.
    QJsonObject childSummary() const;
    QJsonObject toJson() const;
};

/// All that a user sees of a scene: the nodes of the tree in its order, then the items of the
/// document less those that stand for nodes. Made once for each query.
class SceneRecords
{
public:
    explicit SceneRecords(const SceneAccess &access);

    QList<QUuid> ids() const { return m_ids; }
    QList<QUuid> roots() const;
    /// Of an item, or, for a null id, the items at the top.
    QList<QUuid> childrenOf(const QUuid &id) const;
    bool contains(const QUuid &id) const;
    SceneRecord record(const QUuid &id) const;
    /// The first of that name; null when there is none.
    QUuid idByName(const QString &name) const;

private:
    SceneRecord ofNode(const model::LogicalInstance &node) const;
    SceneRecord ofItem(const model::SceneItem &item) const;
    QUuid parentOf(const QUuid &id) const;
    const model::LogicalInstance &node(const QUuid &id) const;
    /// The node itself, or what a reference refers to: that alone is seen.
    QUuid shown(const QUuid &nodeId) const;

    const SceneAccess &m_access;
    QList<QUuid> m_ids;
    QHash<QUuid, QList<QUuid>> m_members; ///< the nodes in a group or domain of the document
};

} // namespace corvane::zirn
