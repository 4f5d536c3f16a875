#pragma once

#include <corvane/model/Varset.h>

#include <QMap>

#include <optional>

namespace corvane::model {

using VarsetEntries = QMap<QString, VarsetEntry>;

/// All variables of a scene: the unnamed varset and the named ones, each with its display order.
///
/// A variable of a named varset is addressed as "varset.name", split at the first dot, which must
/// not be the first character. The unnamed varset is asked first, so that it may hold names with
/// dots. Names are looked up in logarithmic time, and a display order may be asked as a whole only.
class VarsetTable
{
public:
    const VarsetEntries &entries() const { return m_entries; }
    const QMap<QString, VarsetEntries> &namedVarsets() const { return m_named; }
    const QStringList &order() const { return m_order; }
    const QMap<QString, QStringList> &entryOrder() const { return m_entryOrder; }
    VarsetEntries namedVarset(const QString &name) const { return m_named.value(name); }
    QStringList namedVarsetEntryOrder(const QString &name) const
    {
        return m_entryOrder.value(name);
    }

    /// Where a variable stands.
    struct Address
    {
        QString varset{}; ///< empty for the unnamed one
        QString name{};
    };

    bool contains(const QString &name) const { return find(name) != nullptr; }
    std::optional<VarsetEntry> entry(const QString &name) const;
    /// The entry of a varset, the unnamed one being empty; none when there is no such variable.
    const VarsetEntry *findIn(const QString &varset, const QString &name) const;
    /// order(), then every name of the unnamed varset that is not in it.
    QStringList variableNames() const;
    /// Name to value of the unnamed varset.
    QVariantMap flattened() const;

    /// Where set() puts a variable: where it is, in whichever varset; a new one in a named varset
    /// that exists when the name is "varset.name", else in the unnamed one.
    Address addressOf(const QString &name) const;
    void set(const QString &name, const VarsetEntry &entry);
    /// Sets an entry of a varset that exists, or adds it at the end of the varset's order.
    void setIn(const QString &varset, const QString &name, const VarsetEntry &entry);
    /// False when there is no such variable.
    bool remove(const QString &name);
    /// Renames a variable within its varset, where it keeps its place in the order.
    /// @param to  with its varset or without it: "size.w" may become "size.width" or "width" alike
    /// @return the new name as variables are addressed; empty when `from` is unknown, or `to` is
    ///         empty, taken or of another varset
    QString rename(const QString &from, const QString &to);
    /// Replaces the entries; the order loses names that are gone and gains the new ones at its end.
    void setNamed(const QString &varset, const VarsetEntries &entries);
    bool removeNamed(const QString &varset);
    /// Moves an entry between varsets; an empty varset name is the unnamed one. False when the
    /// entry is unknown or the target has one of that name.
    bool move(const QString &entry, const QString &fromVarset, const QString &toVarset);

    /// Replaces the unnamed varset. Names that `order` lists twice, or that are no entries, are
    /// left out of it.
    void setEntries(const VarsetEntries &entries, const QStringList &order);
    /// The same for a named one.
    void setNamed(const QString &varset, const VarsetEntries &entries, const QStringList &order);

private:
    static std::optional<Address> split(const QString &name);
    std::optional<Address> locate(const QString &name) const;
    const VarsetEntry *find(const QString &name) const;
    VarsetEntries &entriesOf(const QString &varset);
    QStringList &orderOf(const QString &varset);

    VarsetEntries m_entries;
    QStringList m_order;
    QMap<QString, VarsetEntries> m_named;
    QMap<QString, QStringList> m_entryOrder;
};

} // namespace corvane::model
