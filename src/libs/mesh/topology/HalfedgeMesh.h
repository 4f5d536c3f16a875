#pragma once

#include <mesh/Mesh.h>

#include <QtGlobal>

namespace mesh::topology {

/// An index that cannot be mistaken for one of another kind.
template<typename Tag>
struct Handle
{
    static constexpr quint32 invalidIndex = 0xFFFFFFFF;

    quint32 index = invalidIndex;

    constexpr bool isValid() const { return index != invalidIndex; }
    constexpr bool operator==(const Handle &) const = default;
};

using HalfedgeHandle = Handle<struct HalfedgeTag>;
using VertexHandle = Handle<struct VertexTag>;
using FaceHandle = Handle<struct FaceTag>;

/// The surface elements of a mesh as halfedges, for questions about its topology.
///
///            next
///        c <------- b          A face is a ring of halfedges, linked by `next`, in the node order
///        of its
///          \      ^^           element. `twin` is the same edge of the neighbouring face. An edge
///          of one face
///           \    / \ twin      only has a boundary halfedge as its twin: one without a face;
///           boundary
///            v  /   v          halfedges form loops of their own.
///             a
///
/// Elements that are no surface, or have fewer than three nodes, are left out. A second halfedge
/// from the same vertex to the same vertex is kept, but is not linked to a real twin: isManifold()
/// finds it.
template<typename T>
class HalfedgeMesh
{
public:
    struct Vertex
    {
        Vector3<T> position;
        HalfedgeHandle halfedge; ///< one that leaves the vertex and has a face; invalid without any
    };
    struct Face
    {
        HalfedgeHandle halfedge;
    };
    struct Halfedge
    {
        VertexHandle to;
        HalfedgeHandle twin;
        HalfedgeHandle next;
        FaceHandle face; ///< invalid on a boundary
    };

    QList<Vertex> vertices;
    QList<Face> faces;
    QList<Halfedge> halfedges;

    /// Linear time. Node indices must lie within the vertices.
    static HalfedgeMesh fromMesh(const Mesh<T> &mesh);

    /// Whether the faces around each vertex form one fan: closed, or open with one boundary at each
    /// side.
    bool isManifold() const;

    /// Whether neighbouring faces wind the same way: no edge is used twice in one direction without
    /// being used in the other.
    bool isOrientable() const;

    /// Whether every edge has two faces: no boundary halfedge exists. True without faces.
    bool isClosed() const;

    /// The halfedge of the same ring whose `next` is `h`. Walks the ring.
    HalfedgeHandle prev(HalfedgeHandle h) const;

private:
    bool isBoundary(quint32 h) const { return !halfedges[h].face.isValid(); }
    quint32 from(quint32 h) const { return halfedges[halfedges[h].twin.index].to.index; }
    QList<quint32> predecessors() const;
    bool isFan(quint32 start, quint32 leaving, const QList<quint32> &previous) const;
};

extern template class HalfedgeMesh<float>;

} // namespace mesh::topology
