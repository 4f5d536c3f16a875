#pragma once

#include <corvane/item/ScenePanelItemModel.h>
#include <corvane/item/ScenePanelModelAdapter.h>
#include <corvane/lifecycle/SceneSession.h>
#include <corvane/ui/tree/SceneActions.h>

#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QStackedLayout;
class QTreeView;

namespace corvane::ui {

class SceneTreeDelegate;

/// The scene as a tree: search, selection, names, places, and what can be done to each row. With
/// nothing in it, it says in one line what would fill it.
class SceneTreePanel : public QWidget
{
    Q_OBJECT

public:
    /// @param session  outlives the panel
    explicit SceneTreePanel(lifecycle::SceneSession *session, QWidget *parent = nullptr);
    ~SceneTreePanel() override;

    item::ScenePanelModelAdapter &panelModel() { return m_adapter; }
    SceneActions &actions() { return *m_actions; }
    QTreeView *view() const { return m_view; }
    QLineEdit *searchField() const { return m_search; }

    /// Starts to edit the name in the row of an item.
    void editName(const QUuid &id);

private:
    void setUpView();
    void setUpEmptyState();
    void connectSelection();
    void takeSelectionOfView();
    void showSelectionOfScene();
    void showMenu(const QPoint &position);
    void applySearch();
    void updateProblems();
    void updateEmptyState();
    /// Whether anything below fits the search; all without one.
    bool showFitting(const QModelIndex &parent);
    QString nameAt(const QModelIndex &index) const;

    lifecycle::SceneSession *const m_session;
    item::ScenePanelModelAdapter m_adapter;
    item::ScenePanelItemModel m_model;
    SceneActions *m_actions = nullptr;
    SceneTreeDelegate *m_delegate = nullptr;
    QLineEdit *m_search = nullptr;
    QTreeView *m_view = nullptr;
    QWidget *m_empty = nullptr;
    QStackedLayout *m_pages = nullptr;
    QTimer m_searchTimer{this};
    QString m_query;
    bool m_isSyncing = false; ///< one side of the selection follows the other
};

} // namespace corvane::ui
