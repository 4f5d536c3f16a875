#pragma once

#include <corvane/component/ComponentDefinition.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/LogicalInstance.h>

#include <optional>

namespace corvane::model {

class LogicalScene;
class NodeKeys;

/// Makes the map of a version 2 file of a logical scene, such that SceneVersion2Reader gives the
/// scene again.
class SceneVersion2Writer
{
public:
    /// Nodes outside `filter` are left out; without one all are written.
    explicit SceneVersion2Writer(const LogicalScene &scene,
                                 std::optional<QSet<QUuid>> filter = std::nullopt);

    /// The materials and definitions that the written nodes name, those of components included.
    DocumentBlock::Used used() const;
    /// {formatVersion: 2, corvane: block}; the block has the keys of `documentBlock` and the nodes,
    /// components and roots.
    QVariantMap write(const QVariantMap &documentBlock) const;
    /// Materials that the nodes name, and what they are called in the file.
    void setMaterialAliases(const QHash<QUuid, QUuid> &aliases) { m_materialAliases = aliases; }

private:
    QVariantList rootsList(const NodeKeys &keys) const;
    QVariantMap componentsMap() const;
    void collectComponents();

    const LogicalScene &m_scene;
    QList<const LogicalInstance *> m_nodes; ///< those that are written, in order
    QMap<QString, component::ComponentDefinition> m_components;
    QHash<QUuid, QUuid> m_materialAliases;
};

} // namespace corvane::model
