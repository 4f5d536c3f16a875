#pragma once

#include <corvane/item/IScenePanelModel.h>
#include <corvane/lifecycle/SceneSession.h>
#include <corvane/registry/Definition.h>

#include <QObject>
#include <QPointer>

namespace corvane::ui {

/// Adds what was picked, as the selection says: a shape into or beside the selected node, an
/// operator around several selected ones, a modifier or transform as a wrapper of the selected
/// ones. One step of undo; what is new is selected. Main thread.
class NodeAdder : public QObject
{
    Q_OBJECT

public:
    /// Neither is owned.
    NodeAdder(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
              QObject *parent = nullptr);

    /// False where the scene refuses.
    /// @param kind  of registry::ThingKind
    bool add(const QString &id, const QString &kind);

signals:
    /// A new node, or the node that got a wrapper.
    void added(const QUuid &node, const QString &wrapperId);

private:
    bool addNode(const QString &id);
    bool addAround(const QString &id, const QList<QUuid> &nodes);
    bool addWrapper(const registry::Definition &wrapper, const QList<QUuid> &nodes);
    QList<QUuid> selectedNodes() const;
    bool inOneStep(const QString &label, const std::function<bool()> &run);

    const QPointer<lifecycle::SceneSession> m_session;
    const QPointer<item::IScenePanelModel> m_panel;
};

} // namespace corvane::ui
