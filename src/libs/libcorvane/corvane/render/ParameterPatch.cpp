#include <corvane/render/ParameterPatch.h>

#include <corvane/model/Corvane.h>

#include <QMutexLocker>

#include <utility>

namespace corvane::render {

bool applyPatch(model::Corvane &document, const ParameterPatch &patch)
{
    if (!document.hasItem(patch.item))
        return false;
    model::Instance instance = document.instance(patch.item);
    instance.setParameters(patch.values);
    document.updateItem(instance);
    return true;
}

void PatchTable::put(const ParameterPatch &patch)
{
    for (auto value = patch.values.cbegin(); value != patch.values.cend(); ++value) {
        const std::pair key(patch.item, value.key());
        const auto known = m_indexOf.constFind(key);
        const Value entry{patch.item, value.key(), value.value(), patch.version};
        if (known == m_indexOf.cend()) {
            m_indexOf.insert(key, m_values.size());
            m_values.append(entry);
        } else if (m_values.at(*known).version <= patch.version) {
            m_values[*known] = entry;
        }
    }
}

void PatchTable::dropUpTo(quint64 version)
{
    const auto values = std::exchange(m_values, {});
    m_indexOf.clear();
    for (const Value &value : values) {
        if (value.version <= version)
            continue;
        m_indexOf.insert({value.item, value.parameter}, m_values.size());
        m_values.append(value);
    }
}

QList<ParameterPatch> PatchTable::patches() const
{
    QList<ParameterPatch> patches;
    QHash<std::pair<QUuid, quint64>, qsizetype> indexOf;
    for (const Value &value : m_values) {
        const std::pair key(value.item, value.version);
        if (!indexOf.contains(key)) {
            indexOf.insert(key, patches.size());
            patches.append({.item = value.item, .version = value.version});
        }
        patches[indexOf.value(key)].values.insert(value.parameter, value.value);
    }
    return patches;
}

bool PatchMailbox::post(const ParameterPatch &patch)
{
    const QMutexLocker lock(&m_mutex);
    const bool wasEmpty = m_patches.isEmpty();
    m_patches.put(patch);
    return wasEmpty;
}

QList<ParameterPatch> PatchMailbox::take()
{
    PatchTable taken;
    {
        const QMutexLocker lock(&m_mutex);
        taken = std::exchange(m_patches, {});
    }
    return taken.patches();
}

} // namespace corvane::render
