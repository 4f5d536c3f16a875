// The variables of a document.
#include <corvane/model/Corvane.h>

namespace corvane::model {

QStringList Corvane::namedVarsetEntryOrder(const QString &name) const
{
    return m_variables.namedVarsetEntryOrder(name);
}

VarsetEntry Corvane::variableEntry(const QString &name) const
{
    return m_variables.entry(name).value_or(VarsetEntry());
}

void Corvane::setVariableEntry(const QString &name, const VarsetEntry &entry)
{
    const VarsetTable::Address address = m_variables.addressOf(name);
    setVariableIn(address.varset, address.name, entry);
}

void Corvane::setVariableEntries(const VarsetEntries &entries)
{
    bool isAnyChanged = false;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        isAnyChanged |= storeVariable(m_variables.addressOf(it.key()), *it);
    if (!isAnyChanged)
        return;
    emit varsetChanged();
    emit sceneChanged();
}

void Corvane::setVariableIn(const QString &varset, const QString &name, const VarsetEntry &entry)
{
    if (!storeVariable({varset, name}, entry))
        return;
    emit variableSet(varset, name);
    emit varsetChanged();
    emit sceneChanged();
}

/// Whether the variable is another one now.
bool Corvane::storeVariable(const VarsetTable::Address &address, const VarsetEntry &entry)
{
    const VarsetEntry *known = m_variables.findIn(address.varset, address.name);
    if (address.name.isEmpty() || (known && *known == entry))
        return false;
    m_variables.setIn(address.varset, address.name, entry);
    if (address.varset.isEmpty())
        m_varset.insert(address.name, entry.value);
    return true;
}

void Corvane::removeVariable(const QString &name)
{
    if (m_variables.remove(name))
        varsetTouched();
}

bool Corvane::renameVariable(const QString &oldName, const QString &newName)
{
    const QString renamed = m_variables.rename(oldName, newName);
    if (renamed.isEmpty())
        return false;
    m_varset = m_variables.flattened();
    emit variableRenamed(oldName, renamed);
    varsetTouched();
    return true;
}

void Corvane::setVariables(const VarsetTable &variables)
{
    m_variables = variables;
    varsetTouched();
}

void Corvane::setNamedVarset(const QString &name, const VarsetEntries &entries)
{
    m_variables.setNamed(name, entries);
    varsetTouched();
}

void Corvane::removeNamedVarset(const QString &name)
{
    if (m_variables.removeNamed(name))
        varsetTouched();
}

bool Corvane::moveEntryToVarset(const QString &entry, const QString &from, const QString &to)
{
    if (!m_variables.move(entry, from, to))
        return false;
    varsetTouched();
    return true;
}

bool Corvane::storeEvaluatedVariable(const QString &name, const QVariant &value)
{
    auto entry = m_variables.entry(name);
    if (!entry || entry->value == value)
        return false;
    entry->value = value;
    m_variables.set(name, *entry);
    if (m_variables.entries().contains(name))
        m_varset.insert(name, value);
    return true;
}

void Corvane::varsetTouched()
{
    m_varset = m_variables.flattened();
    emit varsetChanged();
    emit sceneChanged();
}

} // namespace corvane::model
