#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace corvane::model {

class WarningList;

/// What the references in the instances of a version 1 file name: keys, names or ids, each with or
/// without "@".
class Version1References
{
public:
    explicit Version1References(const QVariantMap &instances);

    /// The key of the instance; empty when there is none.
    QString resolve(const QString &reference) const;

    /// The references of an instance's "children" parameter; none when that is an expression.
    static QStringList childrenOf(const QVariantMap &instance);
    static void setChildren(QVariantMap &instance, const QStringList &references);

private:
    QHash<QString, QString> m_keys; ///< by key, name and id
};

/// Makes a tree of the instances of a version 1 file, where one may stand in many places: each
/// place but the first gets a copy of the instance and all below it.
class Version1Unfolder
{
public:
    /// Copies that are made at most; parts that double at each level would fill the memory.
    static constexpr qsizetype maxCopies = 65536;

    Version1Unfolder(const QVariantMap &instances, WarningList &warnings);

    /// False when there are too many copies; the result is then of no use.
    bool unfold(QStringList &roots);
    const QVariantMap &instances() const { return m_instances; }

private:
    struct Open;

    QString place(const QString &key);
    bool placeBelow(const QString &key, const QString &placedAs);
    QString freeKey(const QString &key);

    QVariantMap m_originals;
    QVariantMap m_instances;
    Version1References m_references;
    QHash<QString, int> m_places; ///< how often each original stands somewhere
    QSet<QString> m_onPath;
    qsizetype m_copies = 0;
    WarningList &m_warnings;
};

} // namespace corvane::model
