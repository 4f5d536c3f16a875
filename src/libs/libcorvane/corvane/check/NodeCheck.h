#pragma once

#include <corvane/check/SceneSource.h>
#include <corvane/registry/Definition.h>

namespace corvane::check {

/// The nodes below one "instances" or "items" key: those of the scene, or those of a component.
struct NodeGroup
{
    KeyPath path{}; ///< of that key
    QVariantMap nodes{};
};

/// All groups of a file, that of the scene first. A list of nodes is taken as a map keyed by
/// "#0", "#1".
QList<NodeGroup> nodeGroupsOf(const SceneSource &source);

/// Whether a version 1 item came out of a compile, and so holds what a person did not write.
bool isCompiled(const QVariantMap &node);

/// Warns of what a node alone says wrong: its keys, its definition, the names and values of its
/// parameters and wrappers. Definitions are those of the registry, the file's own among them.
class NodeCheck
{
public:
    NodeCheck(const SceneSource &source, Findings &findings);

    void check(const NodeGroup &group) const;

private:
    void checkNode(const QString &key, const QVariant &stored, const KeyPath &path) const;
    void checkVersion1(const QString &key, const QVariantMap &node, const KeyPath &path) const;
    void checkVersion2(const QVariantMap &node, const KeyPath &path) const;
    void checkKeysOf(const QVariantMap &node, const KeyPath &path,
                     const registry::DefinitionPtr &definition) const;
    QString keyRemedy(const QString &key, const registry::DefinitionPtr &definition) const;
    void checkOwnValues(const QVariantMap &node, const KeyPath &path) const;
    registry::DefinitionPtr definitionOf(const QVariantMap &node, const KeyPath &path) const;
    void checkParameters(const QVariantMap &params, const KeyPath &path,
                         const registry::Definition &definition) const;
    void checkComponent(const QVariantMap &node, const KeyPath &path) const;
    void checkWrappers(const QVariantMap &node, const KeyPath &path) const;

    const SceneSource &m_source;
    Findings &m_findings;
};

} // namespace corvane::check
