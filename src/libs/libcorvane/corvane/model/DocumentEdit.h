#pragma once

#include <corvane/model/Corvane.h>

#include <QHash>
#include <QList>
#include <QSharedPointer>

#include <optional>

class QUndoStack;

namespace corvane::model {

/// A change of several items and the roots of a document, made as one and undone as one.
///
/// Nothing reaches the document before commit(). For documents that no tree is compiled into: the
/// next compile would write over it.
class DocumentEdit
{
public:
    explicit DocumentEdit(Corvane &document);

    const Corvane &document() const { return m_document; }
    /// The item as the edit would leave it; with a null id when there is none.
    Instance item(const QUuid &id) const;
    /// Adds the item, or replaces the one of its id.
    void put(const SceneItem &item);
    void remove(const QUuid &id);
    QList<QUuid> roots() const { return m_roots; }
    void setRoots(const QList<QUuid> &roots) { m_roots = roots; }

    /// Renames the item and every reference of a "children" parameter that names it.
    void rename(const QUuid &id, const QString &newName);
    /// Lets every reference to `id` name `newId` instead, which the edit holds: in "children", in
    /// the roots and in the hierarchy.
    void redirect(const QUuid &id, const QUuid &newId);
    /// The same, but what stands below in the hierarchy stays there.
    void redirectUsers(const QUuid &id, const QUuid &newId);
    /// What refers to an item: "@" and its name, or its id where the name would lead to another.
    QString referenceTo(const QUuid &id) const;

    /// Sets the "children" of an item that put() then takes.
    static void setReferences(Instance &item, const QStringList &references);

    /// False when nothing would change. With a stack it can be undone there.
    bool commit(QUndoStack *undoStack, const QString &text);

private:
    class Command;
    using State = QHash<QUuid, std::optional<SceneItem>>;

    void replaceReferences(const QUuid &id, const QString &reference);
    static void apply(Corvane &document, const State &state, const QList<QUuid> &roots);

    Corvane &m_document;
    State m_before; ///< of the items that the edit names; nothing for one that does not exist
    State m_after;
    QList<QUuid> m_roots;
};

} // namespace corvane::model
