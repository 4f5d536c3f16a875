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
    setVariableEntries({{name, entry}});
}

void Corvane::setVariableEntries(const VarsetEntries &entries)
{
    bool changed = false;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (it.key().isEmpty() || m_variables.entry(it.key()) == *it)
            continue;
        m_variables.set(it.key(), *it);
        changed = true;
    }
    if (changed)
        varsetTouched();
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
