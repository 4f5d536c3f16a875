#pragma once

#include <QHash>
#include <QString>

namespace corvane::model {

/// Which names are in use, and by how many; finds free ones without trying those that are taken
/// again and again.
class NameCounter
{
public:
    void add(const QString &name);
    void remove(const QString &name);
    void clear();
    bool contains(const QString &name) const { return m_holders.contains(name); }
    /// `base`, a blank, and the lowest number from 1 on that no name has.
    QString freeName(const QString &base) const;

private:
    QHash<QString, int> m_holders;
    mutable QHash<QString, int> m_allTakenBelow; ///< of a base: the numbers from 1 to one less
};

} // namespace corvane::model
