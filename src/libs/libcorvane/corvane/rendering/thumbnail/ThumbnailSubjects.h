#pragma once

#include <corvane/rendering/thumbnail/ThumbnailRenderRequest.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <QByteArray>
#include <QHash>
#include <QVariantMap>

namespace corvane::registry {
class Definition;
class Registry;
} // namespace corvane::registry

namespace corvane::rendering {

/// What the thumbnail of each definition shows, and the shader for it.
///
/// A primitive is drawn as it is. Any other definition is drawn through its preview scene or, where
/// it has none, on a box and a ball: an operator joins them, what takes one part takes the box.
/// On the registry's thread.
class ThumbnailSubjects
{
public:
    struct Subject
    {
        QList<shader::SDFNode> nodes{}; ///< empty when there is nothing to draw
        int rootIndex = -1;
    };

    explicit ThumbnailSubjects(const registry::Registry *registry);

    /// With the given parameters instead of the defaults; those that are not known are passed over.
    [[nodiscard]] Subject make(const registry::Definition &definition,
                               const QVariantMap &parameters);
    /// A hash of all that the picture of a definition follows from but the parameters: its code and
    /// that of what its preview is made of. Kept until the registry changes.
    [[nodiscard]] QByteArray content(const registry::Definition &definition);
    /// Fills what draws the request's nodes: the shader's text and the definitions.
    void addShader(ThumbnailRenderRequest &request);

    /// To be called when the registry has changed.
    void registryChanged();

private:
    [[nodiscard]] Subject fromPreviewScene(const registry::Definition &definition);
    [[nodiscard]] Subject fromExample(const registry::Definition &definition,
                                      const QVariantMap &parameters);
    [[nodiscard]] QByteArray contentOf(const Subject &subject);

    const registry::Registry *m_registry;
    shader::SDFShaderGenerator m_generator;
    QHash<QString, QByteArray> m_contents; ///< by definition id
};

} // namespace corvane::rendering
