#pragma once

#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/shader/ShaderSourceMap.h>
#include <corvane/shader/SpecialisedScene.h>

#include <QSet>
#include <QString>

namespace corvane::registry {
class Registry;
}

namespace corvane::shader {

class IEnvironment;
class IShadingMode;

/// Writes the GLSL of a scene: functions, wrappers and dispatchers of the definitions in use, and
/// one generic evaluator that walks the SDFNode array.
///
/// The text depends only on which definitions are active; shape, parameters and materials live in
/// the node buffer. A definition that can't be processed is logged and left out. Holds no locks:
/// one instance serves one thread.
class SDFShaderGenerator
{
public:
    /// Refers to the registry and numbers its definitions; null leaves everything empty.
    explicit SDFShaderGenerator(const registry::Registry *registry = nullptr);

    void setRegistry(const registry::Registry *registry); ///< not owned; rebuilds the indices
    [[nodiscard]] const registry::Registry *registry() const { return m_registry; }
    void setShadingMode(const IShadingMode *mode)
    {
        m_shadingMode = mode;
    } ///< not owned, may be null
    void setBackgroundEnvironment(const IEnvironment *environment) { m_background = environment; }
    /// Whether generateAllDispatchFunctions() ends with the tree evaluator. True by default.
    void setTreeEvaluatorIncluded(bool included) { m_treeEvaluatorIncluded = included; }

    /// From now on scene shaders hold the field of this scene alone; null brings the tree evaluator
    /// back.
    void setSpecialisedScene(const SpecialisedScene &scene) { m_specialised = scene; }
    /// To be set here: of a scene whose definitions are the active ones. Null when there can be
    /// none.
    [[nodiscard]] SpecialisedScene specialisedScene(const QList<SDFNode> &nodes,
                                                    const QList<int> &rootIndices) const
    {
        return {nodes, rootIndices, m_indices, m_registry};
    }

    /// Numbers the registry's definitions anew.
    void rebuildIndices() { m_indices.rebuildIndices(m_registry); }
    [[nodiscard]] const ShaderIndexManager &indices() const { return m_indices; }

    /// True when the set differs from the active one, and text generated before is out of date.
    bool setActiveDefinitionIds(const QSet<QString> &ids)
    {
        return m_indices.setActiveDefinitionIds(ids);
    }
    void clearActiveFilter() { m_indices.clearActiveFilter(); }

    /// The functions of the active definitions, renamed by index; empty without a registry.
    [[nodiscard]] QString generateSDFFunctions() const;
    /// Wrappers, dispatchers, blend functions, `applyCsgOp` and the tree evaluator.
    [[nodiscard]] QString generateAllDispatchFunctions() const;

    /// One pass: ray march and shading.
    [[nodiscard]] QString generateFragmentShader() const;
    /// Ray march into the G-buffer.
    [[nodiscard]] QString generateGeometryShader() const;
    /// G-buffer to colour, by the shading mode or the default template.
    [[nodiscard]] QString generateShadingShader() const;
    /// The distance at one point, with the map of its lines.
    [[nodiscard]] MappedText generateMappedFieldShader() const;
    [[nodiscard]] QString generateFieldSamplingShader() const;
    /// The distance field on a plane.
    [[nodiscard]] QString generateCrossSectionShader() const;

    /// A template of the caller's own, with the includes and holes of the others.
    [[nodiscard]] QString filledScene(const QString &text) const;

    /// The CSG operation code of a definition; -1 when it is no CSG operator.
    [[nodiscard]] int operationType(const QString &id) const;
    /// The number of a definition's node type; 0 if unknown.
    [[nodiscard]] int nodeType(const QString &id) const;

private:
    [[nodiscard]] MappedText dispatchFunctions() const;
    [[nodiscard]] MappedText fillMapped(const QString &source) const;
    [[nodiscard]] QString fillTemplate(const QString &name) const;

    const registry::Registry *m_registry = nullptr;
    const IShadingMode *m_shadingMode = nullptr;
    const IEnvironment *m_background = nullptr;
    ShaderIndexManager m_indices;
    bool m_treeEvaluatorIncluded = true;
    SpecialisedScene m_specialised; ///< instead of the tree evaluator, unless null
};

} // namespace corvane::shader
