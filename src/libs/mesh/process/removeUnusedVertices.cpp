#include "removeUnusedVertices.h"

namespace mesh::process {

namespace {

// Keeps the values of the vertices that have a number. A list of another length than so many values
// for each vertex belongs to something else and stays.
template<typename Value>
void compact(QList<Value> &values, const QList<int> &number)
{
    if (number.isEmpty() || values.size() % number.size() != 0)
        return;
    const qsizetype perVertex = values.size() / number.size();
    qsizetype kept = 0;
    for (qsizetype v = 0; v < number.size(); ++v)
        for (qsizetype i = 0; number.at(v) >= 0 && i < perVertex; ++i)
            values[kept++] = values.at(v * perVertex + i);
    values.resize(kept);
}

} // namespace

template<typename T>
void removeUnusedVertices(Mesh<T> &mesh)
{
    QList<int> number(mesh.vertices.size(), -1);
    for (const ElementData<T> &element : std::as_const(mesh.elements))
        for (const int node : element.nodes)
            number[node] = 0;
    int count = 0;
    for (int &n : number)
        if (n == 0)
            n = count++;
    if (count == number.size())
        return;
    compact(mesh.vertices, number);
    compact(mesh.normals, number);
    for (QList<T> &values : mesh.vertexAttributes)
        compact(values, number);
    for (ElementData<T> &element : mesh.elements)
        for (int &node : element.nodes)
            node = number.at(node);
}

template void removeUnusedVertices(Mesh<float> &);

} // namespace mesh::process
