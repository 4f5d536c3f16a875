#pragma once

#include <corvane/item/DocumentRows.h>
#include <corvane/item/IScenePanelModel.h>
#include <corvane/item/StructureRows.h>
#include <corvane/ops/CorvaneOp.h>

#include <QPointer>

namespace corvane::model {
class LogicalSceneCompiler;
}
namespace corvane::ops {
class CorvaneOpExecutor;
}

namespace corvane::item {

/// The scene panel over the user's tree and the document together.
///
/// Shows the nodes of the tree, then those items of the document that no tree is behind: cameras,
/// meshes, groups of these. Below a component instance stand the nodes of its structure, which are
/// read-only. Without a tree all items of the document are shown. Edits go through the executor.
class ScenePanelModelAdapter : public IScenePanelModel
{
    Q_OBJECT

public:
    explicit ScenePanelModelAdapter(QObject *parent = nullptr);
    ~ScenePanelModelAdapter() override;

    /// Shows the scene and the tree of the executor; to be called again when it gets others. The
    /// compiler knows what expressions gave; none will do. Neither is owned.
    void setExecutor(ops::CorvaneOpExecutor *executor,
                     model::LogicalSceneCompiler *compiler = nullptr);

    QList<model::SceneItemView> rootItems() const override;
    QList<model::SceneItemView> childrenOf(const QUuid &id) const override;
    std::optional<model::SceneItemView> itemFor(const QUuid &id) const override;
    bool isReadOnly(const QUuid &id) const override;
    bool canHaveChildren(const QUuid &id) const override;

    QUuid selectedId() const override;
    QList<QUuid> selectedIds() const override;
    void selectItem(const QUuid &id) override;
    void addToSelection(const QUuid &id) override;
    void removeFromSelection(const QUuid &id) override;

    bool renameItem(const QUuid &id, const QString &name) override;
    bool deleteItem(const QUuid &id) override;
    bool moveItem(const QUuid &id, const QUuid &parentId, int index) override;
    bool moveItems(const QList<QUuid> &ids, const QUuid &parentId, int index) override;
    QUuid duplicateItem(const QUuid &id) override;
    QUuid createGroupItem(const QString &name, const QUuid &parentId) override;
    QUuid createSdfInstance(const QString &definitionId, const QUuid &parentId) override;
    bool setItemHidden(const QUuid &id, bool on) override;
    bool setItemIsolated(const QUuid &id, bool on) override;
    QUuid effectiveCreateParent(const QUuid &id) const override;

private:
    void connectTree();
    void onTreeStructureChanged();
    bool isNode(const QUuid &id) const;
    const model::LogicalInstance *node(const QUuid &id) const;
    model::SceneItemView nodeView(const model::LogicalInstance &node) const;
    QList<QUuid> childIdsOf(const QUuid &id) const;
    QList<QUuid> topIds() const;
    QUuid parentOf(const QUuid &id) const;
    QUuid selectable(const QUuid &id) const;
    void changeSelection(const QUuid &id, bool on);
    bool isEditable(const QUuid &id) const;
    bool apply(QLatin1StringView kind, const QVariantMap &args);
    bool setTag(const QUuid &id, const QString &tag, bool on);
    bool canMove(const QUuid &id, const QUuid &parentId) const;
    int opIndex(const QUuid &id, const QUuid &parentId, int index) const;
    QList<QUuid> withoutDescendants(const QList<QUuid> &ids) const;
    bool isWithin(const QUuid &id, const QSet<QUuid> &ancestors) const;

    QPointer<ops::CorvaneOpExecutor> m_executor;
    QPointer<model::LogicalSceneCompiler> m_compiler;
    QPointer<model::LogicalScene> m_tree;
    QPointer<model::Corvane> m_document;
    QUuid m_lastChosen; ///< what was selected last, which may have gone since
    DocumentRows m_rows;
    mutable StructureRows m_structures; ///< rows are made when they are asked for
};

} // namespace corvane::item
