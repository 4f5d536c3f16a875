#pragma once

#include <mesh/ElementType.h>
#include <mesh/NodeList.h>
#include <mesh/Vector3.h>

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>

namespace mesh {

/// One element of a mesh: its kind and the vertices that it joins.
template<typename T>
struct ElementData
{
    ElementType type = ElementType::Triangle;
    NodeList nodes;     ///< indices into Mesh::vertices; a surface element winds so that its normal
                        ///< points out
    int id = 0;         ///< unique within the mesh, given by Mesh::addElement
    int materialId = 0; ///< index into the metadata's "materials"; 0 when there are none

    bool operator==(const ElementData &) const = default;
};

} // namespace mesh

// Ahead of the first list of them: such a list then grows by realloc instead of by copying.
Q_DECLARE_TYPEINFO(mesh::Vector3<float>, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(mesh::ElementData<float>, Q_RELOCATABLE_TYPE);

namespace mesh {

/// A mesh of any mixture of elements: a surface, a tetrahedral volume, or both.
///
/// A plain record: its lists are implicitly shared, so that a copy is cheap until it is changed.
/// Const access is safe from many threads. Node indices must lie within `vertices`; readers check
/// that, nobody else does.
///
/// A million triangles with their own vertices take 76 MB, welded about 46 MB. Whoever knows the
/// counts reserves both lists.
template<typename T>
struct Mesh
{
    using Attributes = QMap<QString, QList<T>>;

    QList<Vector3<T>> vertices;
    QList<Vector3<T>> normals; ///< empty, or one for each vertex
    QList<ElementData<T>> elements;

    /// Per-vertex values, one for each vertex, or three for a vector: "color_r", "color_g",
    /// "color_b", "color_a" (0..1), "texCoordU", "texCoordV".
    Attributes vertexAttributes;

    /// Per-element values in the order of `elements`. "group" is an index into the metadata's
    /// "groups".
    Attributes elementAttributes;

    QString name;

    /// After an OBJ import "materials" (a list of maps with `name`, `albedoR`, `albedoG`,
    /// `albedoB`, `alpha`, `metallic`, `roughness`), "materialNameToId" (name to index) and, if the
    /// file has any, "groups" (names).
    QVariantMap metadata;

    int nextElementId = 0; ///< the id of the next element

    bool isEmpty() const { return vertices.isEmpty(); }

    /// Appends an element and returns its id.
    int addElement(ElementType type, const NodeList &nodes, int materialId = 0)
    {
        elements.append(ElementData<T>{type, nodes, nextElementId, materialId});
        return nextElementId++;
    }

    /// Gives each vertex the normal of the surface elements around it, larger ones weighing more:
    /// the sum of the cross products of their first three nodes, normalised. A vertex without one
    /// gets the zero vector.
    void recalculateNormals();
};

extern template struct Mesh<float>;

} // namespace mesh
