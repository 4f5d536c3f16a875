#pragma once

#include <corvane/model/Corvane.h>

#include <QHash>
#include <QObject>
#include <QPointer>

namespace corvane::model {
class LogicalScene;
}
namespace corvane::ops {
class CorvaneOpExecutor;
}

namespace corvane::item {

/// Actions on the operators and instances of a scene that are more than one edit.
///
/// A node of the user's tree, also where it is named by one of its compiled items, is edited there;
/// any other instance in the document. With an executor each action can be undone. Main thread.
class SceneManager : public QObject
{
    Q_OBJECT

public:
    explicit SceneManager(QObject *parent = nullptr);
    ~SceneManager() override;

    model::Corvane *scene() const { return m_scene; }
    /// Not owned; null for none.
    void setScene(model::Corvane *scene);
    /// Not owned; null for none.
    void setExecutor(ops::CorvaneOpExecutor *executor);

    /// `base`, `separator` and the lowest number from 1 on that makes a name no item has.
    QString generateUniqueName(const QString &base,
                               const QString &separator = QStringLiteral("_")) const;
    /// Copies an instance, its children being shared; a root's copy is a root. The id of the copy;
    /// null, with duplicateFailed(), where there is none.
    QUuid duplicateInstance(const QUuid &id);

    /// Whether the definition has slots for children.
    static bool isOperator(const QString &definitionId);
    /// Puts another operator in the place of one, with its children, and with those parameters that
    /// both have. The id of the new one, which is the old id for a node of the tree; null, with
    /// swapFailed() and nothing changed, where it can't be.
    QUuid swapOperator(const QUuid &id, const QString &definitionId);

signals:
    void instanceDuplicated(const QUuid &sourceId, const QUuid &copyId);
    void duplicateFailed(const QUuid &id, const QString &reason);
    void operatorSwapped(const QUuid &oldId, const QUuid &newId);
    void swapFailed(const QUuid &id, const QString &reason);

private:
    QUuid nodeOf(const QUuid &id) const;
    QString definitionOf(const QUuid &id) const;
    qsizetype filledSlots(const QUuid &id) const;
    QString swapObstacle(const QUuid &id, const QString &definitionId) const;
    QUuid swapNode(const QUuid &nodeId, const QString &definitionId);
    QUuid swapInstance(const QUuid &id, const QString &definitionId);
    QUuid failDuplicate(const QUuid &id, const QString &reason);
    QUuid duplicateNode(const QUuid &nodeId);
    model::LogicalScene *tree() const;
    void forgetNames() { m_takenBelow.clear(); }

    QPointer<model::Corvane> m_scene;
    QPointer<ops::CorvaneOpExecutor> m_executor;
    mutable QHash<QString, int>
        m_takenBelow; ///< of a name without number: all lower ones are taken
};

} // namespace corvane::item
