// The shaders that a picture of a sample scene is made of. Needs corvane_field.
#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>

#include <QDir>

#include <functional>

namespace support {

inline QStringList sampleNames()
{
    return QDir(QStringLiteral(CORVANE_SAMPLES))
        .entryList({QStringLiteral("*.corvane")}, QDir::Files);
}

using GenerateShader = QString (corvane::shader::SDFShaderGenerator::*)() const;

struct ShaderTemplate
{
    const char *name;
    GenerateShader generate; ///< the text of a fragment shader
};

inline constexpr ShaderTemplate shaderTemplates[] = {
    {"forward", &corvane::shader::SDFShaderGenerator::generateFragmentShader},
    {"geometry", &corvane::shader::SDFShaderGenerator::generateGeometryShader},
    {"shading", &corvane::shader::SDFShaderGenerator::generateShadingShader},
    {"field", &corvane::shader::SDFShaderGenerator::generateFieldSamplingShader},
    {"section", &corvane::shader::SDFShaderGenerator::generateCrossSectionShader},
};

/// Calls `use` with the generator of a sample, of whose definitions the texts hold just those that
/// it uses. False when the sample can't be read.
inline bool
withGeneratorOf(const QString &sample,
                const std::function<void(const corvane::shader::SDFShaderGenerator &)> &use)
{
    corvane::registry::Registry::instance().loadBuiltinPrimitives();
    const auto scene =
        corvane::model::Corvane::loadFromFile(QStringLiteral(CORVANE_SAMPLES "/") + sample);
    if (!scene)
        return false;
    corvane::render::SDFLayer layer;
    layer.setScene(scene.data());
    if (layer.generatedNodes().isEmpty())
        return false;
    use(layer.generator());
    scene->unregisterFileScopedDefinitions();
    return true;
}

} // namespace support
