#include <corvane/shader/SceneParameterBlock.h>

#include <cstring>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

using Row = SceneParameterBlock::Row;
using Values = std::array<float, 4>;

/// A row of the inverse world matrix, which a node has by columns.
Values placementRow(const SDFNode &node, std::size_t row)
{
    const auto &m = node.invTransform;
    return {m[row], m[4 + row], m[8 + row], m[12 + row]};
}

Values valuesOf(const SDFNode &node, Row row)
{
    switch (row) {
    case Row::Params:
        return node.params;
    case Row::Params2:
        return node.params2;
    case Row::PlacementX:
        return placementRow(node, 0);
    case Row::PlacementY:
        return placementRow(node, 1);
    case Row::PlacementZ:
        return placementRow(node, 2);
    case Row::Shape:
        return {node.smoothRadius, node.densityScale - 1.0f, node.shellThickness, 0.0f};
    }
    return {};
}

/// GLSL that reads the same from the node buffer.
QString nodeRow(int node, Row row)
{
    const auto placement = [node](int component) {
        return u"vec4(nodes[%1].invTransform[0][%2], nodes[%1].invTransform[1][%2], "
               "nodes[%1].invTransform[2][%2], nodes[%1].invTransform[3][%2])"_s.arg(node)
                   .arg(component);
    };
    switch (row) {
    case Row::Params:
        return u"nodes[%1].params"_s.arg(node);
    case Row::Params2:
        return u"nodes[%1].params2"_s.arg(node);
    case Row::PlacementX:
        return placement(0);
    case Row::PlacementY:
        return placement(1);
    case Row::PlacementZ:
        return placement(2);
    case Row::Shape:
        return u"vec4(nodes[%1].smoothRadius, nodes[%1].densityScale - 1.0, "
               "nodes[%1].shellThickness, 0.0)"_s.arg(node);
    }
    return {};
}

} // namespace

QString SceneParameterBlock::row(int node, Row row)
{
    const quint64 key = quint64(node) << 8 | quint64(row);
    const auto known = m_rowOfSource.constFind(key);
    if (known == m_rowOfSource.cend() && m_sources.size() == maxRows)
        return nodeRow(node, row);
    const int at = known == m_rowOfSource.cend() ? int(m_sources.size()) : *known;
    if (known == m_rowOfSource.cend()) {
        m_sources.append({.node = node, .row = row});
        m_rowOfSource.insert(key, at);
    }
    return at < copiedRows ? u"sceneRow%1"_s.arg(at) : u"sceneParameters[%1]"_s.arg(at);
}

QString SceneParameterBlock::declaration() const
{
    QString text = u"layout(std140, binding = %1) uniform SceneParameters {\n"
                   "    vec4 sceneParameters[%2];\n"
                   "};\n\n"_s.arg(QString::number(binding),
                                  QString::number(std::max<qsizetype>(m_sources.size(), 1)));
    for (int i = 0; i < std::min<qsizetype>(m_sources.size(), copiedRows); ++i)
        text += u"vec4 sceneRow%1 = sceneParameters[%1];\n"_s.arg(i);
    return text;
}

QByteArray SceneParameterBlock::bytes(const QList<SDFNode> &nodes) const
{
    QByteArray bytes(std::max<qsizetype>(m_sources.size(), 1) * qsizetype(sizeof(Values)), '\0');
    char *at = bytes.data();
    for (const Source &source : m_sources) {
        if (source.node < nodes.size()) {
            const Values values = valuesOf(nodes.at(source.node), source.row);
            std::memcpy(at, values.data(), sizeof values);
        }
        at += sizeof(Values);
    }
    return bytes;
}

} // namespace corvane::shader
