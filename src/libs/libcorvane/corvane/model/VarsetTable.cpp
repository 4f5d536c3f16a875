#include <corvane/model/VarsetTable.h>

#include <QSet>

#include <utility>

namespace corvane::model {

namespace {

/// What of `order` are entries, each once.
QStringList cleanOrder(const QStringList &order, const VarsetEntries &entries)
{
    QStringList clean;
    QSet<QString> seen;
    for (const QString &name : order) {
        if (!entries.contains(name) || seen.contains(name))
            continue;
        seen.insert(name);
        clean.append(name);
    }
    return clean;
}

/// `order`, then the entries that it lacks.
QStringList completeOrder(const QStringList &order, const VarsetEntries &entries)
{
    QStringList names = order;
    const QSet<QString> ordered(order.cbegin(), order.cend());
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (!ordered.contains(it.key()))
            names.append(it.key());
    }
    return names;
}

} // namespace

std::optional<VarsetEntry> VarsetTable::entry(const QString &name) const
{
    if (const VarsetEntry *found = find(name))
        return *found;
    return std::nullopt;
}

QStringList VarsetTable::variableNames() const
{
    return completeOrder(m_order, m_entries);
}

QVariantMap VarsetTable::flattened() const
{
    QVariantMap values;
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it)
        values.insert(values.cend(), it.key(), it->value);
    return values;
}

VarsetTable::Address VarsetTable::addressOf(const QString &name) const
{
    if (const auto known = locate(name))
        return *known;
    const auto address = split(name);
    return address && m_named.contains(address->varset) ? *address : Address{{}, name};
}

void VarsetTable::set(const QString &name, const VarsetEntry &entry)
{
    const Address address = addressOf(name);
    setIn(address.varset, address.name, entry);
}

void VarsetTable::setIn(const QString &varset, const QString &name, const VarsetEntry &entry)
{
    VarsetEntries &entries = entriesOf(varset);
    const auto known = entries.find(name);
    if (known != entries.end()) {
        *known = entry;
        return;
    }
    entries.insert(name, entry);
    orderOf(varset).append(name);
}

bool VarsetTable::remove(const QString &name)
{
    const auto address = locate(name);
    if (!address)
        return false;
    entriesOf(address->varset).remove(address->name);
    orderOf(address->varset).removeAll(address->name);
    return true;
}

QString VarsetTable::rename(const QString &from, const QString &to)
{
    const auto address = locate(from);
    if (!address)
        return {};
    const bool isNamed = !address->varset.isEmpty();
    const QString prefix = isNamed ? address->varset + u'.' : QString();
    const QString name = isNamed && to.startsWith(prefix) ? to.mid(prefix.size()) : to;
    if (name.isEmpty() || (isNamed && name.contains(u'.')))
        return {};
    VarsetEntries &entries = entriesOf(address->varset);
    if (entries.contains(name))
        return {};
    entries.insert(name, entries.take(address->name));
    QStringList &order = orderOf(address->varset);
    const qsizetype place = order.indexOf(address->name);
    if (place >= 0)
        order[place] = name;
    return prefix + name;
}

void VarsetTable::setNamed(const QString &varset, const VarsetEntries &entries)
{
    m_named.insert(varset, entries);
    m_entryOrder[varset] = completeOrder(cleanOrder(m_entryOrder.value(varset), entries), entries);
}

bool VarsetTable::removeNamed(const QString &varset)
{
    m_entryOrder.remove(varset);
    return m_named.remove(varset) > 0;
}

bool VarsetTable::move(const QString &entry, const QString &fromVarset, const QString &toVarset)
{
    const bool sourceExists = fromVarset.isEmpty() || m_named.contains(fromVarset);
    if (fromVarset == toVarset || !sourceExists || !entriesOf(fromVarset).contains(entry))
        return false;
    if (entriesOf(toVarset).contains(entry))
        return false;
    const VarsetEntry moved = entriesOf(fromVarset).take(entry);
    orderOf(fromVarset).removeAll(entry);
    entriesOf(toVarset).insert(entry, moved);
    orderOf(toVarset).append(entry);
    return true;
}

void VarsetTable::setEntries(const VarsetEntries &entries, const QStringList &order)
{
    m_entries = entries;
    m_order = cleanOrder(order, entries);
}

void VarsetTable::setNamed(const QString &varset, const VarsetEntries &entries,
                           const QStringList &order)
{
    m_named.insert(varset, entries);
    const QStringList clean = cleanOrder(order, entries);
    if (clean.isEmpty())
        m_entryOrder.remove(varset);
    else
        m_entryOrder.insert(varset, clean);
}

std::optional<VarsetTable::Address> VarsetTable::split(const QString &name)
{
    const qsizetype dot = name.indexOf(u'.');
    if (dot < 1)
        return std::nullopt;
    return Address{name.left(dot), name.mid(dot + 1)};
}

std::optional<VarsetTable::Address> VarsetTable::locate(const QString &name) const
{
    if (m_entries.contains(name))
        return Address{{}, name};
    auto address = split(name);
    if (!address)
        return std::nullopt;
    const auto varset = m_named.constFind(address->varset);
    if (varset == m_named.cend() || !varset->contains(address->name))
        return std::nullopt;
    return address;
}

const VarsetEntry *VarsetTable::find(const QString &name) const
{
    const auto address = locate(name);
    return address ? findIn(address->varset, address->name) : nullptr;
}

const VarsetEntry *VarsetTable::findIn(const QString &varset, const QString &name) const
{
    const auto named = m_named.constFind(varset);
    if (!varset.isEmpty() && named == m_named.cend())
        return nullptr;
    const VarsetEntries &entries = varset.isEmpty() ? m_entries : *named;
    const auto entry = entries.constFind(name);
    return entry == entries.cend() ? nullptr : &*entry;
}

VarsetEntries &VarsetTable::entriesOf(const QString &varset)
{
    return varset.isEmpty() ? m_entries : m_named[varset];
}

QStringList &VarsetTable::orderOf(const QString &varset)
{
    return varset.isEmpty() ? m_order : m_entryOrder[varset];
}

} // namespace corvane::model
