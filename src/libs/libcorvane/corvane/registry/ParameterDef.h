#pragma once

#include <QMap>
#include <QString>
#include <QVariant>
#include <QVector3D>
#include <optional>

namespace corvane::registry {

enum class SDFParameterType {
    Float = 0,
    Int = 1,
    Bool = 2,
    Vec2 = 3,
    Vec3 = 4,
    Vec4 = 5,
    Color = 6,
    String = 7,
    SDFChild = 8,    ///< one child node
    SDFChildren = 9, ///< a list of child nodes
};

/// "decimal", "vec3", "sdf_children"; "unknown" for a number that is no SDFParameterType.
[[nodiscard]] QString sdfParameterTypeToString(SDFParameterType type);
/// In any case and trimmed; an unknown word is Float.
[[nodiscard]] SDFParameterType sdfParameterTypeFromString(QStringView word);

enum class UIHint {
    Default = 0,
    Slider = 1,
    SpinBox = 2,
    ColorPicker = 3,
    Angle = 4,
    Distance = 5,
    Percentage = 6,
};

/// "Slider"; empty for Default.
[[nodiscard]] QString uiHintToString(UIHint hint);
/// Case counts: "slider" is Default, as is any unknown word.
[[nodiscard]] UIHint uiHintFromString(QStringView word);

/// How a drag on the number field of a parameter changes its value.
struct DragSpec
{
    enum class Mapping {
        Linear = 0,
        Logarithmic = 1,
        Exponential = 2,
        Multiplicative = 3,
        SymmetricSignedLog = 4,
    };

    Mapping mapping = Mapping::Linear;
    bool bounded = false;     ///< clamp to minimum and maximum
    double deltaAtMin = 0.01; ///< step at the start of the range
    double deltaAtMax = 0.01; ///< step at its end
    double sensitivity = 0.25;
    double pivot = 0.0;       ///< centre of a signed mapping
    double linearCore = 0.05; ///< width of the linear part around the pivot
    bool signLock = true;     ///< a drag can't cross zero

    [[nodiscard]] static DragSpec fromVariantMap(const QVariantMap &map);
    [[nodiscard]] QVariantMap toVariantMap() const;
    bool operator==(const DragSpec &) const = default;
};

/// The handle in the viewport that edits a parameter.
struct GizmoSpec
{
    QString type; ///< "AxisHandle", "RadiusHandle", "ScaleHandle", "AngleArc"
    std::optional<QVector3D> axis;
    bool symmetric = false; ///< drawn in both directions; a value is then a full extent
    float scale = 1.0f; ///< distance along the axis for each unit of the value, before the halving
                        ///< of a symmetric one
    std::optional<QVector3D> offset;
    QString offsetParam; ///< a parameter whose value displaces the handle
    std::optional<QVector3D> rotation;

    [[nodiscard]] static GizmoSpec fromVariantMap(const QVariantMap &map);
    [[nodiscard]] QVariantMap toVariantMap() const;
    bool operator==(const GizmoSpec &) const = default;
};

/// One handle bound to several parameter components: {x: offset.x, y: offset.y, z: offset.z}.
struct GizmoGroupSpec
{
    QString type; ///< "TranslateHandle", "RotateHandle"
    QMap<QString, QString> bindings;

    [[nodiscard]] static GizmoGroupSpec fromVariantMap(const QVariantMap &map);
    [[nodiscard]] QVariantMap toVariantMap() const;
    bool operator==(const GizmoGroupSpec &) const = default;
};

/// One parameter of a definition. Values are as the file gives them: numbers are qlonglong or
/// double, vectors lists of numbers or QVector2D/3D/4D.
struct ParameterDef
{
    QString name; ///< the argument's name in the code, and the key in an instance's params
    QString displayName;
    QString description;
    SDFParameterType type = SDFParameterType::Float;
    UIHint uiHint = UIHint::Default;
    QVariant defaultValue;
    QVariant minValue; ///< with a drag that is not bounded an anchor of its curve and no clamp
    QVariant maxValue;
    QString unit;
    QString section; ///< group in the editor
    QVariant stepValue;
    bool required = true;
    int minChildren = 0;
    int maxChildren = -1;        ///< -1: no limit
    QString childDisplayPattern; ///< label of child slots, "Part %1"
    std::optional<DragSpec> drag;
    std::optional<GizmoSpec> gizmo;

    [[nodiscard]] bool isChildParameter() const
    {
        return type == SDFParameterType::SDFChild || type == SDFParameterType::SDFChildren;
    }

    /// Keys that are not known are passed over.
    [[nodiscard]] static ParameterDef fromVariantMap(const QVariantMap &map);
    /// The reverse; what equals its default is left out.
    [[nodiscard]] QVariantMap toVariantMap() const;
    bool operator==(const ParameterDef &) const = default;
};

} // namespace corvane::registry
