#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QHash>
#include <QList>
#include <QString>
#include <private/qshaderdescription_p.h>

#include <optional>

namespace corvane::shader {

/// What comments in a shader's source say about one parameter.
struct ParameterAnnotation
{
    QString name;
    QVariant defaultValue; ///< all values are text, to be read by the parameter's type
    QVariant minValue;
    QVariant maxValue;
    QVariant stepValue;
    registry::UIHint hint = registry::UIHint::Default;
    QString unit;
    QString description;
    QString section;
    bool hasDefault = false;
    bool hasRange = false;
    bool hasHint = false;
    bool hasStep = false;

    bool operator==(const ParameterAnnotation &) const = default;
};

/// Derives a definition's parameters from its GLSL: from the signature of its function, from
/// comments, from the reflection of a compiled shader. Stateless, linear in the text; any thread.
class ParameterExtractor
{
public:
    using Annotations = QHash<QString, ParameterAnnotation>;

    /// Reads "// @min 0.5" lines above a member, "float a; // Range: 0 to 1, Unit: mm" behind it,
    /// and "// a: Range: 0 to 1" lines of their own. A comment behind the member beats the lines
    /// above it whole.
    [[nodiscard]] static Annotations parseAnnotations(const QString &source);
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

    /// All arguments of the first `float sdf...(vec3 p, ...)` but the first.
    [[nodiscard]] static QList<registry::ParameterDef>
    extractParametersFromFunctionSignature(const QString &shaderCode);

    /// The members of the uniform blocks, of the named one alone if a name is given.
    [[nodiscard]] static QList<registry::ParameterDef>
    extractParameters(const QShaderDescription &description, const QString &blockName,
                      const QString &source);
};

} // namespace corvane::shader
