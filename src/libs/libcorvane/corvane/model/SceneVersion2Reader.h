#pragma once

#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/WarningList.h>
#include <corvane/registry/Definition.h>

#include <QHash>
#include <QSharedPointer>
#include <QVariantMap>

namespace corvane::model {

class LogicalScene;

/// Makes a logical scene of the block of a version 2 file.
///
/// Nothing in a block makes it fail: a reference that names nothing is dropped with a warning, and
/// so is what would not make a tree. A node has the id that is its key, or one that depends on its
/// key alone, so that a file is the same scene every time it is read. It names its material as the
/// file does: the values of one that the file brings along are the document's to know.
class SceneVersion2Reader
{
public:
    explicit SceneVersion2Reader(const QVariantMap &block);

    QSharedPointer<LogicalScene> read();
    QStringList warnings() const { return m_warnings.lines(); }

private:
    class Nodes;

    Nodes readNodes(const QVariant &stored, const QString &space);
    void assignIds(Nodes &nodes, const QString &space);
    QVariantMap completed(QVariantMap node) const;
    QVariantList rootsOf(const Nodes &nodes);
    void readComponent(const QString &key, const QVariantMap &entry);
    QVariantList readInterface(const QVariantMap &entry, const QString &id, const Nodes &nodes);
    bool registerComponent(const QString &id, const QVariantMap &entry, const Nodes &nodes,
                           const QUuid &root);

    QVariantMap m_block;
    WarningList m_warnings;
    QHash<QString, registry::DefinitionPtr> m_definitions; ///< of the file, not registered yet
    component::ComponentRegistry m_components;
    QVariantList m_leftExpanded; ///< nodes of components that could not be made
};

} // namespace corvane::model
