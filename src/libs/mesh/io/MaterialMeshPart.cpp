#include "MaterialMeshPart.h"

#include <QMap>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

// Copies one part after another, giving each the vertices that it uses in the order of the mesh.
class Splitter
{
public:
    explicit Splitter(const Mesh<float> &mesh)
        : m_mesh(mesh)
        , m_number(mesh.vertices.size(), -1)
    {}

    Mesh<float> cut(const QList<int> &elements);

private:
    template<typename Value>
    static QList<Value> chosen(const QList<Value> &values, const QList<int> &items,
                               qsizetype itemCount);

    const Mesh<float> &m_mesh;
    QList<int> m_number; // by vertex; all -1 between two parts
};

template<typename Value>
QList<Value> Splitter::chosen(const QList<Value> &values, const QList<int> &items,
                              qsizetype itemCount)
{
    QList<Value> result;
    if (itemCount == 0 || values.size() % itemCount != 0)
        return result;
    const qsizetype perItem = values.size() / itemCount;
    result.reserve(items.size() * perItem);
    for (const int item : items)
        for (qsizetype i = 0; i < perItem; ++i)
            result.append(values.at(item * perItem + i));
    return result;
}

Mesh<float> Splitter::cut(const QList<int> &elements)
{
    QList<int> used;
    for (const int e : elements)
        for (const int node : m_mesh.elements.at(e).nodes)
            if (std::exchange(m_number[node], 0) < 0)
                used.append(node);
    std::sort(used.begin(), used.end());
    for (qsizetype i = 0; i < used.size(); ++i)
        m_number[used.at(i)] = int(i);
    Mesh<float> part;
    part.elements = chosen(m_mesh.elements, elements, m_mesh.elements.size());
    for (ElementData<float> &element : part.elements)
        for (int &node : element.nodes)
            node = m_number.at(node);
    const qsizetype vertexCount = m_mesh.vertices.size();
    part.vertices = chosen(m_mesh.vertices, used, vertexCount);
    part.normals = chosen(m_mesh.normals, used, vertexCount);
    const auto &ofVertices = m_mesh.vertexAttributes;
    for (auto it = ofVertices.cbegin(); it != ofVertices.cend(); ++it)
        part.vertexAttributes.insert(it.key(), chosen(*it, used, vertexCount));
    const auto &ofElements = m_mesh.elementAttributes;
    for (auto it = ofElements.cbegin(); it != ofElements.cend(); ++it)
        part.elementAttributes.insert(it.key(), chosen(*it, elements, m_mesh.elements.size()));
    part.nextElementId = m_mesh.nextElementId;
    for (const int vertex : std::as_const(used))
        m_number[vertex] = -1;
    return part;
}

void readMaterial(const QVariantMap &material, MaterialMeshPart &part)
{
    if (const QString name = material.value(u"name"_s).toString(); !name.isEmpty())
        part.name = name;
    const auto read = [&material](const QString &key, float &value) {
        bool isNumber = false;
        const float number = material.value(key).toFloat(&isNumber);
        if (isNumber && std::isfinite(number))
            value = number;
    };
    read(u"albedoR"_s, part.albedoR);
    read(u"albedoG"_s, part.albedoG);
    read(u"albedoB"_s, part.albedoB);
    read(u"metallic"_s, part.metallic);
    read(u"roughness"_s, part.roughness);
}

} // namespace

QList<MaterialMeshPart> splitByMaterial(const Mesh<float> &mesh)
{
    QMap<int, QList<int>> elementsOfMaterial;
    for (qsizetype e = 0; e < mesh.elements.size(); ++e)
        elementsOfMaterial[mesh.elements.at(e).materialId].append(int(e));
    const QVariantList materials = mesh.metadata.value(u"materials"_s).toList();
    QList<MaterialMeshPart> parts;
    Splitter splitter(mesh);
    for (auto it = elementsOfMaterial.cbegin(); it != elementsOfMaterial.cend(); ++it) {
        MaterialMeshPart part;
        part.materialId = it.key();
        part.name = u"material_%1"_s.arg(it.key());
        readMaterial(materials.value(it.key()).toMap(), part);
        part.mesh = splitter.cut(*it);
        part.mesh.name = part.name;
        parts.append(part);
    }
    return parts;
}

} // namespace mesh::io
