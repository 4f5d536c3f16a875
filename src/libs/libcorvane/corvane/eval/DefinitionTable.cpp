#include <corvane/eval/DefinitionTable.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ShaderIndexManager.h>

namespace corvane::eval {

namespace {

quint64 keyOf(quint32 nodeType, quint32 definitionIndex)
{
    return quint64(nodeType) << 32 | definitionIndex;
}

} // namespace

DefinitionTable DefinitionTable::collect(const QList<shader::SDFNode> &nodes,
                                         const registry::Registry &registry,
                                         const shader::ShaderIndexManager &indices)
{
    DefinitionTable table;
    for (const shader::SDFNode &node : nodes) {
        if (node.nodeType >= shader::gpuNodeTypeCount || table.find(node))
            continue;
        const QString id = indices.idAt(node.type(), node.definitionIndex);
        if (const auto definition = registry.getDefinition(id))
            table.insert(node.type(), node.definitionIndex, definition);
    }
    return table;
}

void DefinitionTable::insert(shader::GpuNodeType type, quint32 definitionIndex,
                             const QSharedPointer<const registry::Definition> &definition)
{
    m_definitions.insert(keyOf(static_cast<quint32>(type), definitionIndex), definition);
}

const registry::Definition *DefinitionTable::find(const shader::SDFNode &node) const
{
    return m_definitions.value(keyOf(node.nodeType, node.definitionIndex)).get();
}

} // namespace corvane::eval
