#include <corvane/shader/ShaderIndexManager.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>

#include <QLoggingCategory>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcIndices, "ondrel.shader.indices", QtWarningMsg)

std::optional<GpuNodeType> ShaderIndexManager::tableOf(const registry::Definition &definition)
{
    using registry::NodeType;
    switch (definition.nodeType) {
    case NodeType::Unknown:
        return std::nullopt;
    case NodeType::Primitive:
    case NodeType::ScalarField:
        return GpuNodeType::Primitive;
    case NodeType::CSGOperator:
        return GpuNodeType::CsgOp;
    case NodeType::PositionTransform:
        return GpuNodeType::PositionTransform;
    case NodeType::DistanceModifier:
        return GpuNodeType::DistanceModifier;
    case NodeType::PositionAwareModifier:
        return GpuNodeType::PositionAwareModifier;
    }
    return std::nullopt;
}

void ShaderIndexManager::rebuildIndices(const registry::Registry *registry)
{
    m_tables = {};
    if (!registry)
        return;
    const auto definitions = registry->getAllPrimitives();
    for (const auto &definition : definitions) {
        if (!definition || definition->id.isEmpty() || !definition->enabled ||
            QStringView(definition->shaderCode).trimmed().isEmpty())
            continue;
        const auto type = tableOf(*definition);
        if (!type) {
            qCWarning(lcIndices).noquote()
                << "ShaderIndexManager: Unknown node type for" << definition->id;
            continue;
        }
        Table &entries = m_tables[static_cast<std::size_t>(*type)];
        entries.indexById.insert(definition->id, static_cast<int>(entries.idByIndex.size()));
        entries.idByIndex.append(definition->id);
    }
    qCInfo(lcIndices) << "ShaderIndexManager: rebuilt indices -"
                      << "primitives:" << count(GpuNodeType::Primitive)
                      << "transforms:" << count(GpuNodeType::PositionTransform)
                      << "modifiers:" << count(GpuNodeType::DistanceModifier)
                      << "CSG operators:" << count(GpuNodeType::CsgOp)
                      << "PAMs:" << count(GpuNodeType::PositionAwareModifier);
}

std::optional<ShaderIndexManager::Entry> ShaderIndexManager::find(const QString &id) const
{
    for (std::uint32_t type = 0; type < gpuNodeTypeCount; ++type) {
        const int index = indexOf(static_cast<GpuNodeType>(type), id);
        if (index >= 0)
            return Entry{static_cast<GpuNodeType>(type), index};
    }
    return std::nullopt;
}

int ShaderIndexManager::indexOf(GpuNodeType type, const QString &id) const
{
    return table(type).indexById.value(id, -1);
}

QString ShaderIndexManager::idAt(GpuNodeType type, qint64 index) const
{
    const QList<QString> &ids = table(type).idByIndex;
    return index >= 0 && index < ids.size() ? ids.at(index) : QString();
}

int ShaderIndexManager::count(GpuNodeType type) const
{
    return static_cast<int>(table(type).idByIndex.size());
}

QList<int> ShaderIndexManager::activeIndices(GpuNodeType type) const
{
    QList<int> indices;
    const QList<QString> &ids = table(type).idByIndex;
    for (int i = 0; i < ids.size(); ++i) {
        if (isActive(ids.at(i)))
            indices.append(i);
    }
    return indices;
}

int ShaderIndexManager::primitiveIndex(const QString &id) const
{
    return indexOf(GpuNodeType::Primitive, id);
}

QString ShaderIndexManager::primitiveIdAt(qint64 index) const
{
    return idAt(GpuNodeType::Primitive, index);
}

QString ShaderIndexManager::positionTransformIdAt(qint64 index) const
{
    return idAt(GpuNodeType::PositionTransform, index);
}

QString ShaderIndexManager::csgOperatorIdAt(qint64 index) const
{
    return idAt(GpuNodeType::CsgOp, index);
}

int ShaderIndexManager::activePrimitiveCount() const
{
    return static_cast<int>(activeIndices(GpuNodeType::Primitive).size());
}

bool ShaderIndexManager::isActive(const QString &id) const
{
    return !m_filterActive || m_activeIds.contains(id);
}

bool ShaderIndexManager::setActiveDefinitionIds(const QSet<QString> &ids)
{
    if (m_filterActive && m_activeIds == ids)
        return false;
    m_activeIds = ids;
    m_filterActive = true;
    return true;
}

void ShaderIndexManager::clearActiveFilter()
{
    m_filterActive = false;
    m_activeIds.clear();
}

const ShaderIndexManager::Table &ShaderIndexManager::table(GpuNodeType type) const
{
    return m_tables.at(static_cast<std::size_t>(type));
}

} // namespace corvane::shader
