#include "Mesh.h"

namespace mesh {

template<typename T>
void Mesh<T>::recalculateNormals()
{
    normals.fill(Vector3<T>{}, vertices.size());
    for (const ElementData<T> &element : std::as_const(elements)) {
        if (dimension(element.type) != 2 || element.nodes.size() < 3)
            continue;
        const Vector3<T> &a = vertices.at(element.nodes[0]);
        const Vector3<T> weighted =
            (vertices.at(element.nodes[1]) - a).cross(vertices.at(element.nodes[2]) - a);
        for (const int node : element.nodes)
            normals[node] += weighted;
    }
    for (Vector3<T> &normal : normals)
        normal = normal.normalized();
}

template struct Mesh<float>;

} // namespace mesh
