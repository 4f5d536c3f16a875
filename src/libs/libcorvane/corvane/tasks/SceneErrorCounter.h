#pragma once

#include <corvane/tasks/BrokenTexts.h>
#include <corvane/tasks/SceneAccess.h>
#include <corvane/tasks/SceneErrors.h>

#include <QObject>
#include <QPointer>
#include <QSet>

namespace corvane::model {
struct LogicalInstance;
} // namespace corvane::model

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
    /// By which name expressions may read a node, and what: "name.param" with its type.
    struct NamedParameters
    {
        QString name{};
        QMap<QString, expr::ExprType> types{};

        bool operator==(const NamedParameters &) const = default;
    };

    explicit SceneErrorCounter(QObject *executor);

    void follow(const SceneAccess &access);
    void startAnew();
    void rereadVariable(const QString &varset, const QString &name);
    expr::ExprType typeSeenByOthers(const model::VarsetEntry &entry) const;
    bool isDocumentAnother();
    void rereadDocument();
    void rereadNode(const QUuid &id);
    void rereadNames(const QUuid &id, const model::LogicalInstance *node);
    void rereadTree();

    QPointer<model::Corvane> m_document;
    QPointer<model::LogicalScene> m_tree;

    BrokenTexts m_texts;
    QHash<QUuid, QStringList> m_nodeTexts; ///< of those that have expressions
    QHash<QUuid, NamedParameters> m_nodeNames;
    expr::NodeNames m_names;
    QHash<QString, QStringList> m_variableTexts;       ///< by location, of those that have one
    QStringList m_itemTexts;                           ///< of all items of the document
    QList<std::pair<QString, QString>> m_setVariables; ///< varset and name
    QSet<QUuid> m_changedNodes;
    quint64 m_documentRevision = 0;
    bool m_isStale = true; ///< nothing that was counted holds
    bool m_variablesChanged = true;
    bool m_isVariableNamed = false; ///< the next varsetChanged() is about one that is known
    bool m_hasMoves = false;
    bool m_treeChanged = true; ///< as a whole, unsaid what
};

} // namespace corvane::zirn
