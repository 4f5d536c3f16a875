#pragma once

#include <corvane/render/RenderAction.h>
#include <corvane/shader/SDFNode.h>
#include <corvane/shader/SDFShaderGenerator.h>
#include <corvane/shader/SDFUniforms.h>

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QUuid>
#include <QVector3D>

namespace corvane::model {
class Corvane;
}
namespace corvane::registry {
class Registry;
}

namespace corvane::render {

class SDFNodeBuilder;

/// Keeps the SDFNode array in step with a scene document, and says through actionsRequested() what
/// a renderer must redo for it. It uses no device: the export reads generatedNodes() and that is
/// all.
///
/// Lives on the thread of the document.
class SDFLayer : public QObject
{
    Q_OBJECT

public:
    /// One field of the node array: the items of an "sdf_domain", or of none with a null id.
    struct DomainEntry
    {
        QUuid domainId;
        int rootIndex = -1; ///< first root; the others follow by `nextSibling`
        int nodeCount = 0;

        bool operator==(const DomainEntry &) const = default;
    };

    /// A node array whose domains are one chain of roots.
    struct FieldNodes
    {
        QList<shader::SDFNode> nodes;
        int rootIndex = -1;
    };

    /// With the process-wide registry.
    explicit SDFLayer(QObject *parent = nullptr);
    explicit SDFLayer(registry::Registry *registry, QObject *parent = nullptr);
    ~SDFLayer() override;

    /// Follows another document (not owned, may be null) and builds its nodes at once.
    void setScene(model::Corvane *scene);
    [[nodiscard]] model::Corvane *scene() const;

    /// Builds the nodes anew, now.
    void syncNodesFromDocument();
    /// Builds once, when control is back in the event loop, however often it is called until then.
    void requestSyncCoalesced();
    /// Repacks the nodes of one instance in place; builds anew when it has none or is of another
    /// definition by now.
    void updateInstanceParameters(const QUuid &id);

    [[nodiscard]] const QList<shader::SDFNode> &generatedNodes() const { return m_nodes; }
    [[nodiscard]] const QList<DomainEntry> &domains() const { return m_domains; }
    /// Why the scene could not be flattened; empty when it could. There are no nodes then.
    [[nodiscard]] const QString &buildError() const { return m_buildError; }
    /// The nodes with the roots of all domains linked to one chain: their union, as an export wants
    /// it.
    [[nodiscard]] FieldNodes nodesAsOneField() const;

    [[nodiscard]] const shader::SDFUniforms &uniforms() const { return m_uniforms; }
    [[nodiscard]] shader::SDFShaderGenerator &generator() { return m_generator; }
    [[nodiscard]] const shader::SDFShaderGenerator &generator() const { return m_generator; }

    /// The item that a node stands for; null out of range and for nodes that the layer added.
    [[nodiscard]] QUuid itemIdForNodeIndex(uint index) const;
    /// The first node of an item; -1 when it has none.
    [[nodiscard]] int nodeIndexForItem(const QUuid &id) const
    {
        return m_nodeIndexById.value(id, -1);
    }
    /// Nodes changed since the last clearNodesDirty().
    [[nodiscard]] bool nodesDirty() const { return m_nodesDirty; }
    void clearNodesDirty() { m_nodesDirty = false; }

    /// The ids of the definitions that nodes use; an index that is in no table yields none.
    [[nodiscard]] static QSet<QString>
    usedDefinitionIds(const QList<shader::SDFNode> &nodes,
                      const shader::SDFShaderGenerator &generator);

    /// Cuts the field with a box, so that the picture shows what an export would take. Only a scene
    /// of one domain is cut.
    void setExportVolumeEnabled(bool enabled);
    void setExportVolumeBounds(const QVector3D &min, const QVector3D &max);

signals:
    void actionsRequested(corvane::render::RenderActions actions);

private:
    void onRegistryChanged();
    void onSceneChanged();
    void runCoalescedSync();
    void buildNodeBuffer();
    void buildDomains(SDFNodeBuilder &builder);
    void appendDomain(const SDFNodeBuilder &builder, const QUuid &domainId, int rootIndex);
    void refuse(const QString &error);
    void injectExportVolume();
    int appendOperator(int definitionIndex, std::uint32_t operation, int firstChild);
    [[nodiscard]] shader::SDFNode exportVolumeBox(std::uint32_t definitionIndex) const;
    void publishNodes();

    QPointer<model::Corvane> m_scene;
    registry::Registry *m_registry = nullptr;
    shader::SDFShaderGenerator m_generator;
    shader::SDFUniforms m_uniforms;
    QList<shader::SDFNode> m_nodes;
    QList<QUuid> m_itemIds; ///< parallel to m_nodes
    QHash<QUuid, int> m_nodeIndexById;
    QList<DomainEntry> m_domains;
    QString m_buildError;
    QVector3D m_exportMin{-5, -5, -5};
    QVector3D m_exportMax{5, 5, 5};
    bool m_exportVolumeEnabled = false;
    quint64 m_builtItems = 0; ///< the scene's revisions that the nodes are of
    quint64 m_builtStructure = 0;
    bool m_nodesDirty = false;
    bool m_syncQueued = false;
    bool m_indicesStale = false;
};

} // namespace corvane::render
