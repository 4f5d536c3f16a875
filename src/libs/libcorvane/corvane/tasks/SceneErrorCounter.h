#pragma once

#include <corvane/tasks/SceneAccess.h>
#include <corvane/tasks/SceneErrors.h>

#include <QObject>
#include <QPointer>
#include <QSet>

namespace corvane::zirn {

/// How many expressions of a scene can't be resolved: scanSceneErrors() as a number, at a cost that
/// goes with what was changed since the last count, and not with the size of the tree. A plan of
/// thousands of edits counts after each.
///
/// One for each executor, which owns it; it starts anew when the executor gets another scene. Main
/// thread.
class SceneErrorCounter : public QObject
{
    Q_OBJECT

public:
    static SceneErrorCounter &of(const SceneAccess &access);

    int count();

private:
    struct NodeEntry
    {
        QStringList texts{};
        int broken = 0;
    };

    explicit SceneErrorCounter(QObject *executor);

    void follow(const SceneAccess &access);
    bool refreshScope();
    void renewScope();
    void recountDocument();
    void recountTree();
    void recountNode(const QUuid &id);
    void rereadTree();
    int brokenAmong(const QStringList &texts);
    int brokenAmong(const ExpressionSites &sites);
    bool isBroken(const QString &text);

    QPointer<model::Corvane> m_document;
    QPointer<model::LogicalScene> m_tree;

    expr::CompileContext m_scope;
    QHash<QString, bool> m_isBroken; ///< by text, in m_scope
    QHash<QUuid, NodeEntry> m_nodes; ///< those that have expressions
    QSet<QUuid> m_changedNodes;
    quint64 m_documentRevision = 0;
    bool m_isStale = true; ///< nothing that was counted holds
    bool m_isScopeStale = true;
    bool m_variablesChanged = true;
    bool m_hasMoves = false;
    bool m_treeChanged = true; ///< as a whole, unsaid what
    int m_treeBroken = 0;
    int m_documentBroken = 0;
};

} // namespace corvane::zirn
