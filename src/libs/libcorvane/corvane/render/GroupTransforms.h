#pragma once

#include <QHash>
#include <QMatrix4x4>
#include <QUuid>

namespace corvane::model {
class Corvane;
}

namespace corvane::render {

/// The world matrices of the groups around instances, each worked out once.
///
/// Walking up from an instance, a domain is the last item that counts, an item of the field counts
/// for nothing (its transforms are nodes of their own), and any other multiplies in. Parents that
/// go round in a circle end the walk.
class GroupTransforms
{
public:
    explicit GroupTransforms(const model::Corvane &scene)
        : m_scene(scene)
    {}

    /// The matrix that an item below `parentId` stands in; the identity for a null or unknown id.
    [[nodiscard]] QMatrix4x4 below(const QUuid &parentId);

private:
    const model::Corvane &m_scene;
    QHash<QUuid, QMatrix4x4> m_known;
};

} // namespace corvane::render
