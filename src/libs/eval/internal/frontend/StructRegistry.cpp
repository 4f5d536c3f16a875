#include <eval/internal/frontend/StructRegistry.h>

#include <utility>

namespace eval::internal {

int StructDef::indexOf(const QString &field) const
{
    for (qsizetype i = 0; i < fields.size(); ++i) {
        if (fields[i].name == field)
            return static_cast<int>(i);
    }
    return -1;
}

bool StructRegistry::registerStruct(StructDef definition)
{
    if (m_indexes.contains(definition.name))
        return false;
    m_indexes.insert(definition.name, m_definitions.size());
    m_definitions.append(std::move(definition));
    return true;
}

const StructDef *StructRegistry::lookup(const QString &name) const
{
    const auto found = m_indexes.constFind(name);
    return found == m_indexes.constEnd() ? nullptr : &m_definitions[*found];
}

} // namespace eval::internal
