#pragma once

#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QList>
#include <QSharedPointer>

namespace corvane::registry {
class Definition;
class Registry;
} // namespace corvane::registry

namespace corvane::shader {
class ShaderIndexManager;
}

namespace corvane::eval {

/// The definitions that a node list uses, by the type and the definition index of its nodes.
///
/// A copy of what is needed, so that it may go to a thread that must not touch the registry.
class DefinitionTable
{
public:
    DefinitionTable() = default;
    /// Nodes whose index names no definition get no entry. Main thread, as the registry is.
    static DefinitionTable collect(const QList<shader::SDFNode> &nodes,
                                   const registry::Registry &registry,
                                   const shader::ShaderIndexManager &indices);

    void insert(shader::GpuNodeType type, quint32 definitionIndex,
                const QSharedPointer<const registry::Definition> &definition);
    /// Null when there is none.
    const registry::Definition *find(const shader::SDFNode &node) const;

private:
    QHash<quint64, QSharedPointer<const registry::Definition>> m_definitions;
};

} // namespace corvane::eval
