#pragma once

#include <corvane/model/LogicalInstance.h>

#include <QHash>

namespace corvane::model {

/// The readable keys under which nodes stand in a version 2 file.
///
/// They depend on the nodes and their order alone. A node that was read from a file keeps the key
/// that it had there as long as its name allows it, also where several nodes have one name: its id
/// tells.
class NodeKeys
{
public:
    /// @param space  of the nodes of a component, its id; empty for those of the scene
    NodeKeys(const QList<const LogicalInstance *> &nodes, const QString &space);

    /// Empty for a node that is not among them.
    QString keyOf(const QUuid &id) const { return m_keys.value(id); }

    /// The id of a node that its file states none for.
    static QUuid idOf(const QString &key, const QString &space);

private:
    void take(const QUuid &id, const QString &key);
    void keepFormerKeys(const QList<const LogicalInstance *> &nodes, const QString &space);

    QHash<QUuid, QString> m_keys;
    QSet<QString> m_taken;
};

} // namespace corvane::model
