#pragma once

#include <corvane/shader/SDFNode.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

namespace corvane::shader {

/// The uniform block that a shader made for one scene reads its numbers from: rows of four floats,
/// only those that the scene uses, in the order of their first use. Reading a uniform at a fixed
/// place costs a device next to nothing; reading a node of the storage buffer does not.
///
/// The first rows are copied to variables at the start of the shader. A software device reads
/// uniforms as slowly as it computes: it then takes 1.3 to 1.5 of the time of constants in the
/// text, and 2.5 without. More of them would fill the registers of others.
///
/// The layout follows from the structure of the scene. What has no room is read from the nodes.
class SceneParameterBlock
{
public:
    static constexpr int binding = 6;
    static constexpr int maxRows = 1024; ///< 16 KiB, which every device has
    static constexpr int copiedRows = 64;

    enum class Row {
        Params,
        Params2,
        PlacementX, ///< of the inverse world matrix
        PlacementY,
        PlacementZ,
        Shape, ///< smooth radius, inflation, shell thickness
    };

    /// GLSL for a row of a node: an entry of the block, made when there is none yet.
    [[nodiscard]] QString row(int node, Row row);

    /// GLSL that declares the block and the variables.
    [[nodiscard]] QString declaration() const;
    /// The bytes of the block for a node array of the same structure; never empty.
    [[nodiscard]] QByteArray bytes(const QList<SDFNode> &nodes) const;

private:
    struct Source
    {
        int node = 0;
        Row row = Row::Params;
    };
    QList<Source> m_sources; ///< by row of the block
    QHash<quint64, int> m_rowOfSource;
};

} // namespace corvane::shader
