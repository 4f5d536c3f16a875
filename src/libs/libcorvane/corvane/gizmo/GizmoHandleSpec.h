#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QColor>
#include <QList>
#include <QMatrix4x4>
#include <QString>
#include <QStringView>
#include <QUuid>
#include <QVariant>
#include <QVector3D>

#include <optional>

namespace corvane::gizmo {

/// What a handle is to the hand: a point on a line, or on a circle.
enum class HandleType {
    Axis,      ///< "AxisHandle": stands at the parameter's distance along its axis
    Radius,    ///< "RadiusHandle": the same, of a round thing
    Translate, ///< "TranslateHandle": an arrow of constant size at what it moves
    Scale,     ///< "ScaleHandle": the same, and a drag is a factor
    Rotate,    ///< "RotateHandle": a ring around its axis, the parameter is an angle in degrees
    AngleArc,  ///< "AngleArc": an arc from nothing to the parameter, in degrees
};

/// Nothing for a word that names no handle.
[[nodiscard]] std::optional<HandleType> handleTypeFromWord(QStringView word);
/// Whether a drag goes round the axis, and not along it.
[[nodiscard]] constexpr bool isAngular(HandleType type)
{
    return type == HandleType::Rotate || type == HandleType::AngleArc;
}

/// One handle in the picture and the number that it drags: a parameter of an item, or a component
/// of one. Places are in the space of the item; a placement matrix takes them to the world.
struct GizmoHandleSpec
{
    HandleType type = HandleType::Axis;
    QVector3D axis{1, 0, 0};
    QVector3D rotation{}; ///< degrees around x, y and z, of axis and offset; z acts first
    QVector3D offset{};   ///< where the axis begins
    /// How far along the axis the handle stands for each unit of the value.
    float distancePerUnit = 1.0f;
    bool symmetric = false; ///< drawn in both directions
    QColor color{};

    QUuid targetInstance{};
    QString parameter{};
    int component = -1;     ///< of a vector; -1 for a plain number
    QVariant value{};       ///< the whole parameter as it stands
    double minimum = -1e30; ///< see `drag`
    double maximum = 1e30;
    double step = 1.0;                        ///< of a drag that snaps
    std::optional<registry::DragSpec> drag{}; ///< none is linear and bounded

    /// The direction of the axis in the world, of unit length; +x where the placement flattens it.
    [[nodiscard]] QVector3D effectiveWorldAxis(const QMatrix4x4 &placement) const;
    /// Where `point`, seen from the beginning of the axis, lies in the world.
    [[nodiscard]] QVector3D effectiveWorldOrigin(const QVector3D &point,
                                                 const QMatrix4x4 &placement) const;
    /// Where the value puts the beginning of the axis: a handle that moves something stands at it.
    [[nodiscard]] QVector3D anchor() const;
    /// World distance that the handle goes for each unit of the value; 0 where it can't.
    [[nodiscard]] float worldDistancePerUnit(const QMatrix4x4 &placement) const;

    /// The number that is dragged; 0 when the value is none.
    [[nodiscard]] double number() const;
    /// The whole parameter with another number in its place.
    [[nodiscard]] QVariant withNumber(double number) const;
};

/// The handles of the active item.
struct GizmoSpec
{
    QList<GizmoHandleSpec> handles;
};

/// What lies under the cursor.
struct GizmoHitResult
{
    int handle = -1;       ///< in the list of handles; -1 for none
    QVector3D point{};     ///< on the handle, in the world
    float distance = 0.0f; ///< from the eye, scene units

    [[nodiscard]] bool isHit() const { return handle >= 0; }
};

} // namespace corvane::gizmo
