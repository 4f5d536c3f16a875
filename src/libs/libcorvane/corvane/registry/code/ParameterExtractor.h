#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/registry/code/ParameterAnnotation.h>

#include <QList>
#include <QString>
#include <private/qshaderdescription_p.h>

#include <optional>

namespace corvane::shader {

/// Derives a definition's parameters from its GLSL: from the signature of its function, from
/// comments, from the reflection of a compiled shader. Stateless, linear in the text; any thread.
class ParameterExtractor
{
public:
    /// Reads "// @min 0.5" lines above a member, "float a; // Range: 0 to 1, Unit: mm" behind it,
    /// and "// a: Range: 0 to 1" lines of their own. A comment behind the member beats the lines
    /// above it whole.
    [[nodiscard]] static ParameterAnnotations parseAnnotations(const QString &source);
    /// Reads "Range: 0 to 1, Default: 0.5, Hint: slider, Unit: mm, Description: ..." into the
    /// annotation; parts that are not there leave it as it is.
    static void parseAnnotationLine(const QString &text, ParameterAnnotation &annotation);

    /// None for a type that is no parameter. A vec3 or vec4 is a color when its name says so.
    [[nodiscard]] static std::optional<registry::SDFParameterType>
    mapVariableType(QShaderDescription::VariableType type, const QString &name);

    /// The text as a value of that type: double, int, bool, QVector2D, QVector3D, QVector4D (color
    /// too), QString; invalid for children.
    [[nodiscard]] static QVariant parseValueString(const QString &text,
                                                   registry::SDFParameterType type);

    /// All arguments but the first of the function of that name; without a name, of the first
    /// `float sdf...(vec3 p, ...)` or `float field_...(vec3 p, ...)`.
    [[nodiscard]] static QList<registry::ParameterDef>
    extractParametersFromFunctionSignature(const QString &shaderCode,
                                           const QString &functionName = {});

    /// The members of the uniform blocks, of the named one alone if a name is given.
    [[nodiscard]] static QList<registry::ParameterDef>
    extractParameters(const QShaderDescription &description, const QString &blockName,
                      const QString &source);
};

} // namespace corvane::shader
