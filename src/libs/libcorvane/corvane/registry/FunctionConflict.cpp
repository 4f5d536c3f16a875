#include <corvane/registry/FunctionConflict.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/code/SignatureAnalyzer.h>

using namespace Qt::StringLiterals;

namespace corvane::registry {

void FunctionIndex::insert(const Definition &definition)
{
    remove(definition.id);
    QStringList names = shader::SignatureAnalyzer::extractFunctionNames(definition.shaderCode);
    names.removeDuplicates();
    for (const QString &name : std::as_const(names)) {
        QSet<QString> &ids = m_idsByName[name];
        ids.insert(definition.id);
        if (ids.size() > 1)
            m_conflicting.insert(name);
    }
    m_namesById.insert(definition.id, names);
}

void FunctionIndex::remove(const QString &definitionId)
{
    const QStringList names = m_namesById.take(definitionId);
    for (const QString &name : names) {
        const auto ids = m_idsByName.find(name);
        ids->remove(definitionId);
        if (ids->size() < 2)
            m_conflicting.remove(name);
        if (ids->isEmpty())
            m_idsByName.erase(ids);
    }
}

QList<FunctionConflict> FunctionIndex::conflicts() const
{
    QStringList names(m_conflicting.cbegin(), m_conflicting.cend());
    names.sort();
    QList<FunctionConflict> conflicts;
    for (const QString &name : std::as_const(names)) {
        const QSet<QString> ids = m_idsByName.value(name);
        QStringList sorted(ids.cbegin(), ids.cend());
        sorted.sort();
        const QString joined = sorted.join(", "_L1);
        conflicts.append({.functionName = name,
                          .definitionIds = joined,
                          .message = u"Function '%1' is defined in multiple primitives: %2"_s.arg(
                              name, joined)});
    }
    return conflicts;
}

} // namespace corvane::registry
