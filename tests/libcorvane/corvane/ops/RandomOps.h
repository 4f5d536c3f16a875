#pragma once

#include "OpFixture.h"

#include <QRandomGenerator>

/// Makes ops of every kind for the scene as it stands, most of which it can take: what they name is
/// there, for the most part.
class RandomOps
{
public:
    RandomOps(OpFixture &fixture, quint32 seed)
        : m_fixture(fixture)
        , m_random(seed)
    {}

    /// The kinds that next() makes, in the order of the table.
    static QStringList kinds();
    /// Of any kind; one that makes the scene smaller when it has grown large.
    corvane::ops::CorvaneOp next();
    /// One of those that drags send.
    corvane::ops::CorvaneOp nextOfDrag(const QUuid &id);

    /// To be told what an op of "component.edit_enter" gave.
    void noteSession(const QString &definitionId, const QUuid &root)
    {
        m_sessions.append({definitionId, root});
    }

    int below(int limit) { return int(m_random.bounded(limit)); }
    QUuid node();
    QUuid anything();

private:
    struct Maker
    {
        QLatin1StringView kind;
        QVariantMap (*args)(RandomOps &);
    };

    static const QList<Maker> &makers();
    bool chance(int percent) { return below(100) < percent; }
    QUuid item();
    /// Of the items that are no part of the compiled tree, which nobody edits by hand.
    QStringList itemNames();
    QUuid pick(const QList<QUuid> &ids);
    QString pickText(const QStringList &texts);
    QVariant value();
    QString name();
    QString variable();
    QString varset();
    QString component();
    QString newComponent();
    QUuid material();
    QVariantMap surface();
    QVariantMap definitionMap(const QString &id);

    QVariantMap sdfSetParameter();
    QVariantMap sdfSetAllParams();
    QVariantMap componentUnnest();
    QVariantMap componentExplode();
    QVariantMap componentEditCommit();

    OpFixture &m_fixture;
    QRandomGenerator m_random;
    int m_componentCount = 0;
    QList<QPair<QString, QUuid>> m_sessions; ///< components that were entered, and their roots
};
