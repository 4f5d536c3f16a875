#pragma once

#include <corvane/check/NodeCheck.h>

#include <QHash>

namespace corvane::check {

/// Warns of how the nodes of one group refer to each other: children and roots that do not exist,
/// too many or too few children, circles, and nodes that nothing draws.
///
/// Of nodes that nothing draws only version 1 is told: its files list what is drawn, and an
/// instance that was forgotten there is a part that is missing. A tree of version 2 may keep nodes
/// for later. Items that came out of a compile are left out: nobody wrote them.
class GraphCheck
{
public:
    GraphCheck(const SceneSource &source, const NodeGroup &group, Findings &findings);

    /// @param isScene  not those of a component, which have one root of their own
    void check(bool isScene);

private:
    struct Node
    {
        QString key;
        QVariantMap map;
        QList<qsizetype> children{};   ///< those that exist
        bool hasLostChild = false;     ///< a reference that names nothing
        bool isMeantElsewhere = false; ///< by such a reference, most likely
    };

    void addWord(const QString &word, qsizetype node);
    qsizetype resolve(const QString &reference) const; ///< -1 for none
    void readChildren(qsizetype node);
    QVariant childrenOf(const QVariantMap &map, KeyPath &path) const;
    void markMeant(qsizetype number, const QStringList &references);
    QString referenceRemedy(const QString &reference, const QString &mark);
    void checkChildCount(const Node &node) const;
    void checkRoots();
    void checkMissingRoots() const;
    void checkCircles() const;
    void addCircle(const QList<qsizetype> &path, qsizetype start) const;
    void checkUndrawn() const;
    void checkRootsDrawnTwice() const;
    QList<bool> reachedFrom(const QList<qsizetype> &starts) const;
    QList<qsizetype> unlisted() const;
    QStringList candidates() const;
    KeyPath pathOf(const Node &node) const { return m_group.path + KeyPath{node.key}; }

    const SceneSource &m_source;
    const NodeGroup &m_group;
    Findings &m_findings;
    QList<Node> m_nodes;
    QHash<QString, qsizetype> m_words; ///< by what references may say, without "@"
    QList<qsizetype> m_roots;
};

} // namespace corvane::check
