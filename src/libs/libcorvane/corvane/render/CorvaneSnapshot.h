#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <mesh/Mesh.h>

#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSharedPointer>

#include <memory>

namespace corvane::render {

/// Definitions at one time, nobody's to change.
using DefinitionList = std::shared_ptr<const QList<registry::Definition>>;

/// A scene at one time, by value, for a thread that must not touch the document. All large parts
/// are shared with the document until that changes, so that a snapshot costs next to nothing.
struct CorvaneSnapshot
{
    /// The triangles that stand in for an item of the field.
    struct Proxy
    {
        ::mesh::Mesh<float> mesh{};
        int version = 0; ///< rises with each change
    };

    quint64 version = 0; ///< ascending; see ParameterPatch
    QString name{};
    QString units{};
    QMap<QUuid, model::SceneItem> items{};
    QList<QUuid> roots{};
    bool drawsAllItems = true;
    QMap<QUuid, model::CatalogMaterial> materials{};
    QVariantMap settings{};
    DefinitionList definitions{}; ///< all of the registry
    QHash<QUuid, ::mesh::Mesh<float>> meshes{};
    QHash<QUuid, ::mesh::Mesh<float>> tetVolumes{};
    QHash<QUuid, Proxy> proxies{};
};

/// Takes snapshots of documents. It copies the definitions once for each change of the registry.
/// Main thread.
class SnapshotTaker : public QObject
{
    Q_OBJECT

public:
    /// `registry` outlives it.
    explicit SnapshotTaker(const registry::Registry &registry, QObject *parent = nullptr);

    /// Meshes are for the caller to fill in. The version is one more than that of the last one.
    [[nodiscard]] CorvaneSnapshot take(const model::Corvane &document);
    /// For a patch: as if a snapshot had been taken.
    [[nodiscard]] quint64 nextVersion() { return ++m_version; }

private:
    const registry::Registry &m_registry;
    DefinitionList m_definitions;
    quint64 m_version = 0;
};

/// A document of the caller's own. It registers no definitions; see syncRegistry().
[[nodiscard]] QSharedPointer<model::Corvane>
rebuildCorvaneFromSnapshot(const CorvaneSnapshot &snapshot);

/// Makes a table hold just these definitions, touching those that differ only.
void syncRegistry(registry::Registry &table, const QList<registry::Definition> &definitions);

} // namespace corvane::render
