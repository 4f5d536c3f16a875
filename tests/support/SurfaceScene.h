#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/rendering/SnapshotMeshSource.h>

#include <QVector3D>

/// A document with items that are no field, and their meshes.
class SurfaceScene
{
public:
    corvane::model::Corvane document;
    corvane::rendering::SnapshotMeshSource source;

    /// A square about the origin that faces +z, of two triangles.
    static corvane::rendering::SurfaceMesh square(float half = 0.5f)
    {
        corvane::rendering::SurfaceMesh mesh;
        mesh.vertices = {{-half, -half, 0}, {half, -half, 0}, {half, half, 0}, {-half, half, 0}};
        mesh.addElement(::mesh::ElementType::Quad, {0, 1, 2, 3});
        return mesh;
    }
    /// A tetrahedron about the origin whose face z = 0 is seen from +z.
    static corvane::rendering::SurfaceMesh tetrahedron()
    {
        corvane::rendering::SurfaceMesh mesh;
        mesh.vertices = {{-0.6f, -0.5f, 0}, {0.6f, -0.5f, 0}, {0, 0.6f, 0}, {0, 0, -0.5f}};
        mesh.addElement(::mesh::ElementType::Tetrahedron, {0, 1, 2, 3});
        return mesh;
    }

    QUuid add(const QString &type, const QVector3D &place, const QVector4D &albedo = {1, 0, 0, 1})
    {
        corvane::model::SceneItem item;
        item.itemType = type;
        item.name = QStringLiteral("item %1").arg(document.items().size());
        item.translate = place;
        item.material.albedo = albedo;
        item.material.roughness = 1.0f;
        return document.addItem(item);
    }
    QUuid addMesh(const corvane::rendering::SurfaceMesh &mesh, const QVector3D &place,
                  const QVector4D &albedo = {1, 0, 0, 1})
    {
        const QUuid id = add(corvane::model::ItemTypes::Mesh, place, albedo);
        source.renderMeshes.insert(id, mesh);
        return id;
    }
    QUuid addProxy(const corvane::rendering::SurfaceMesh &mesh)
    {
        const QUuid id = add(corvane::model::ItemTypes::Sdf, {});
        tag(id, corvane::model::ItemTags::Proxied);
        source.proxies.insert(id, {.mesh = mesh, .version = 1});
        return id;
    }
    QUuid addVolume(const corvane::rendering::SurfaceMesh &mesh, const QVector3D &place)
    {
        const QUuid id = add(corvane::model::ItemTypes::TetVolume, place);
        source.tetVolumes.insert(id, mesh);
        return id;
    }
    void tag(const QUuid &id, const QString &tag)
    {
        corvane::model::SceneItem item = document.item(id);
        item.tags.insert(tag);
        document.updateItem(item);
    }
};
