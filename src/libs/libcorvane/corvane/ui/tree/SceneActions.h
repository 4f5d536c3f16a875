#pragma once

#include <corvane/item/IScenePanelModel.h>
#include <corvane/lifecycle/SceneSession.h>

#include <QAction>
#include <QHash>
#include <QObject>
#include <QPointer>

namespace corvane::ui {

/// What can be done to the selected items, as actions for menus, the command palette and keys. Each
/// is enabled while it would do something. Main thread.
class SceneActions : public QObject
{
    Q_OBJECT

public:
    enum Command {
        AddInside,
        Group,
        Duplicate,
        Rename,
        Hide,
        ShowAll,
        Isolate,
        SelectAll,
        NestIntoComponent,
        MakeProxy,
        ExportThis,
        Remove,
        commandCount,
    };

    /// Neither is owned.
    SceneActions(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
                 QObject *parent = nullptr);

    QAction *action(Command command) const { return m_actions.at(command); }
    QList<QAction *> actions() const { return m_actions; }

public slots:
    void updateEnabled();

signals:
    // What these need is not ours: a picker, an editor in a row, an export.
    void addRequested();
    void renameRequested(const QUuid &id);
    void exportRequested(const QUuid &id);

private:
    void run(Command command);
    void group();
    void duplicate();
    void toggleHidden();
    void showAll();
    void toggleIsolated();
    void selectAll();
    void nest();
    void makeProxy();
    void remove();
    bool inOneStep(const QString &label, const std::function<void()> &edit);
    QList<QUuid> selected() const;
    QList<QUuid> editable() const;

    const QPointer<lifecycle::SceneSession> m_session;
    const QPointer<item::IScenePanelModel> m_panel;
    QList<QAction *> m_actions;
};

} // namespace corvane::ui
