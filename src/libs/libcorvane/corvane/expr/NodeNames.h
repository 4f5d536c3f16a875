#pragma once

#include <QMultiHash>
#include <QString>
#include <QUuid>

namespace corvane::model {
class Corvane;
struct SceneItem;
} // namespace corvane::model

namespace corvane::expr {

/// The names that users gave to the nodes of their tree, by the compiled core that each became.
///
/// A core has a made-up name of its own; what was compiled from keeps its name beside it. A name
/// that several nodes have means none of them. A plain value.
class NodeNames
{
public:
    NodeNames() = default;
    explicit NodeNames(const model::Corvane &scene);

    /// An empty name is passed over.
    void add(const QString &name, const QUuid &id);
    void remove(const QString &name, const QUuid &id) { m_holders.remove(name, id); }
    /// Null for a name that no core has, and for one that several have.
    QUuid holder(const QString &name) const;

    /// Empty for an item that is no core, and for names that begin another scope.
    static QString of(const model::SceneItem &item);

private:
    QMultiHash<QString, QUuid> m_holders;
};

/// The item whose parameters "name.param" reads: the one of that name, else the core of the one
/// node that has it. Null for none.
QUuid itemMeantBy(const model::Corvane &scene, const NodeNames &nodeNames, const QString &name);

} // namespace corvane::expr
