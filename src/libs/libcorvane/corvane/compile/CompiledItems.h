#pragma once

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/Instance.h>
#include <corvane/model/NodeCompilation.h>

#include <QHash>
#include <QSet>

#include <vector>

namespace corvane::model {

/// What a compile remembers of the last one: a node that is as it was keeps its items, as long as
/// nobody else changed them. A plain value.
struct CompileMemory
{
    struct Node
    {
        LogicalInstance node;
        QUuid displayParent{};
        CompiledInstanceMapping mapping;
    };
    struct Item
    {
        Instance item;
        QString parent;        ///< the name of the item that refers to it
        QVariantList children; ///< its references
    };

    QHash<QUuid, Node> nodes{};             ///< whose items have names of the usual sort
    QHash<QUuid, Item> items{};             ///< of these nodes
    QHash<QString, QVariantMap> defaults{}; ///< of the wrappers' definitions
};

/// The items of one full compile, until they go into the document all at once.
///
/// That way each item is made once, complete, however late it is known what it refers to.
class CompiledItems
{
public:
    /// @param memory     of the last compile into this document; store() brings it up to date
    /// @param replaced   the items of the last compile, which the new ones take the place of
    /// @param nodeCount  about how many nodes are to come
    CompiledItems(Corvane &document, CompileMemory &memory, const QSet<QUuid> &replaced,
                  qsizetype nodeCount);

    /// To be called of each node with an item of its own before any is added: others must not be
    /// given its name.
    void reserveName(const LogicalInstance &node);
    /// Makes the core of a node and the wrappers around it.
    /// @param displayParent  the group of the document that they stand in because one above does
    CompiledInstanceMapping addNode(const LogicalInstance &node, const QUuid &displayParent = {});
    /// Makes the wrappers of a component instance around its structure's root.
    CompiledInstanceMapping addComponentInstance(const LogicalInstance &node,
                                                 const CompiledInstanceMapping &root,
                                                 const QUuid &displayParent = {});
    /// Gives a core its children, by their outer items.
    void setChildren(const QUuid &coreId, const QList<QUuid> &outerIds);

    /// Stores all in the document, takes out of it what is not replaced, and its roots.
    void store();

    /// The id that the item of a node's wrapper has, or its core for none, in any document.
    static QUuid itemId(const QUuid &nodeId, const QString &wrapperId);

private:
    struct Pending
    {
        Instance item;
        QVariantMap params;
        SDFNodeProvenance provenance;
        QVariantList children;
        const CompileMemory::Item *known = nullptr; ///< what it is unless its links changed
        bool isOwn = false;          ///< the item of a node that had it before any compile
        QStringList ownReferences{}; ///< to its children, as that item wrote them
    };

    CompiledInstanceMapping makeNode(const LogicalInstance &node, const QUuid &displayParent);
    Pending &addOwnCore(const LogicalInstance &node);
    Pending &addCore(const LogicalInstance &node, const QUuid &id, const QUuid &displayParent);
    const CompileMemory::Node *unchanged(const LogicalInstance &node, const QUuid &displayParent);
    bool isAsStored(const QUuid &itemId) const;
    void keep(const LogicalInstance &node, const CompiledInstanceMapping &mapping);
    void keepItem(const QUuid &id);
    void remember(const LogicalInstance &node, const QUuid &displayParent,
                  const CompiledInstanceMapping &mapping);
    QString referenceTo(const Instance &item) const;
    QVariantList referencesOf(const Pending &parent, const QList<QUuid> &children) const;
    static void complete(Pending &made);
    void forgetOutdated();
    void forgetGone(const QSet<QUuid> &goneItems);
    bool takeShortName(const QUuid &nodeId);
    void addWrappers(const LogicalInstance &node, const QUuid &displayParent,
                     CompiledInstanceMapping &mapping);
    Pending &add(const LogicalInstance &node, const QString &definitionId, const QUuid &id);
    Pending &pending(const QUuid &id) { return m_items[m_indices.value(id)]; }
    const Pending &pending(const QUuid &id) const { return m_items[m_indices.value(id)]; }
    /// The parameters that an item had after the last compile.
    QVariantMap before(const QUuid &id) const;
    QString nameFor(const QUuid &nodeId, const QString &suffix, bool isCore);
    QUuid wrapperItemId(const QUuid &nodeId, const QString &wrapperId);
    void findForeignNames();

    Corvane &m_document;
    CompileMemory &m_memory;
    const QSet<QUuid> m_replaced;
    NodeCompilation m_compilation;
    std::vector<Pending> m_items;
    QHash<QUuid, CompileMemory::Node> m_made; ///< nodes that were compiled, to be remembered
    QHash<QUuid, std::size_t> m_indices;
    QSet<QString> m_takenNames;      ///< by items of other sorts, and long ones
    QHash<QString, int> m_ownNames;  ///< how many nodes' own items have each
    QHash<uint, QUuid> m_shortNames; ///< who has the digits that names begin with
    QHash<QString, QUuid> m_masks;   ///< what tells the items of a node apart, by wrapper
};

} // namespace corvane::model
