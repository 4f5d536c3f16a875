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
        QVariantMap (RandomOps::*args)();
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

    QVariantMap itemAdd();
    QVariantMap itemRemove();
    QVariantMap itemRename();
    QVariantMap itemSetTransform();
    QVariantMap itemSetParent();
    QVariantMap itemSetMaterial();
    QVariantMap itemSetTags();
    QVariantMap itemSetTypeData();
    QVariantMap itemDuplicate();
    QVariantMap itemSetProxy();
    QVariantMap sdfSetParameter();
    QVariantMap sdfSetAllParams();
    QVariantMap sdfSetDefinition();
    QVariantMap sdfSetModifier();
    QVariantMap materialAdd();
    QVariantMap materialRemove();
    QVariantMap materialUpdate();
    QVariantMap materialDuplicate();
    QVariantMap varsetSetVariable();
    QVariantMap varsetRemoveVar();
    QVariantMap varsetRenameVar();
    QVariantMap varsetReorder();
    QVariantMap varsetAddNamed();
    QVariantMap varsetRemoveNamed();
    QVariantMap varsetMoveEntry();
    QVariantMap settingsSet();
    QVariantMap settingsSetBulk();
    QVariantMap definitionAdd();
    QVariantMap definitionRemove();
    QVariantMap definitionUpdate();
    QVariantMap componentNest();
    QVariantMap componentNestMulti();
    QVariantMap componentUnnest();
    QVariantMap componentExplode();
    QVariantMap componentUpdateDefinition();
    QVariantMap componentPublish();
    QVariantMap componentEditEnter();
    QVariantMap componentEditCommit();

    OpFixture &m_fixture;
    QRandomGenerator m_random;
    int m_componentCount = 0;
    QList<QPair<QString, QUuid>> m_sessions; ///< components that were entered, and their roots
};
