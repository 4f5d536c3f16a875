#include <corvane/gizmo/GizmoHandleSpec.h>

#include <QQuaternion>
#include <QVector2D>
#include <QVector4D>

#include <array>
#include <cmath>

namespace corvane::gizmo {

using namespace Qt::StringLiterals;

namespace {

constexpr float smallestLength = 1e-12f;

struct TypeWord
{
    QLatin1String word;
    HandleType type;
};

constexpr std::array typeWords{
    TypeWord{"AxisHandle"_L1, HandleType::Axis},
    TypeWord{"RadiusHandle"_L1, HandleType::Radius},
    TypeWord{"TranslateHandle"_L1, HandleType::Translate},
    TypeWord{"ScaleHandle"_L1, HandleType::Scale},
    TypeWord{"RotateHandle"_L1, HandleType::Rotate},
    TypeWord{"AngleArc"_L1, HandleType::AngleArc},
};

/// Rx * Ry * Rz, as the built-in "rotate" turns a part.
QVector3D turned(const QVector3D &vector, const QVector3D &degrees)
{
    QMatrix4x4 rotation;
    rotation.rotate(degrees.x(), 1, 0, 0);
    rotation.rotate(degrees.y(), 0, 1, 0);
    rotation.rotate(degrees.z(), 0, 0, 1);
    return rotation.mapVector(vector);
}

/// Files give vectors as lists of numbers, the document as vectors.
QList<double> components(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QVector2D: {
        const auto v = value.value<QVector2D>();
        return {v.x(), v.y()};
    }
    case QMetaType::QVector3D: {
        const auto v = value.value<QVector3D>();
        return {v.x(), v.y(), v.z()};
    }
    case QMetaType::QVector4D: {
        const auto v = value.value<QVector4D>();
        return {v.x(), v.y(), v.z(), v.w()};
    }
    default:
        break;
    }
    QList<double> numbers;
    const QVariantList list = value.toList();
    for (const QVariant &number : list)
        numbers.append(number.toDouble());
    return numbers;
}

QVariant vectorOf(const QList<double> &numbers)
{
    const auto at = [&numbers](int i) { return static_cast<float>(numbers.at(i)); };
    switch (numbers.size()) {
    case 2:
        return QVector2D(at(0), at(1));
    case 3:
        return QVector3D(at(0), at(1), at(2));
    case 4:
        return QVector4D(at(0), at(1), at(2), at(3));
    default:
        return {};
    }
}

} // namespace

std::optional<HandleType> handleTypeFromWord(QStringView word)
{
    for (const TypeWord &row : typeWords) {
        if (word == row.word)
            return row.type;
    }
    return std::nullopt;
}

QVector3D GizmoHandleSpec::effectiveWorldAxis(const QMatrix4x4 &placement) const
{
    const QVector3D direction = placement.mapVector(turned(axis, rotation));
    const float length = direction.length();
    if (!(length > smallestLength) || !std::isfinite(length))
        return {1, 0, 0};
    return direction / length;
}

QVector3D GizmoHandleSpec::effectiveWorldOrigin(const QVector3D &point,
                                                const QMatrix4x4 &placement) const
{
    return placement.map(turned(offset + point, rotation));
}

float GizmoHandleSpec::worldDistancePerUnit(const QMatrix4x4 &placement) const
{
    const float length = placement.mapVector(turned(axis.normalized(), rotation)).length();
    const float distance = std::abs(distancePerUnit) * length;
    return std::isfinite(distance) ? distance : 0.0f;
}

QVector3D GizmoHandleSpec::anchor() const
{
    if (type != HandleType::Translate || component < 0)
        return {};
    const QList<double> numbers = components(value);
    QVector3D place;
    for (int i = 0; i < 3 && i < numbers.size(); ++i)
        place[i] = static_cast<float>(numbers.at(i));
    return place;
}

double GizmoHandleSpec::number() const
{
    if (component < 0)
        return value.toDouble();
    const QList<double> numbers = components(value);
    return component < numbers.size() ? numbers.at(component) : 0.0;
}

QVariant GizmoHandleSpec::withNumber(double number) const
{
    if (component < 0)
        return value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Int
                   ? QVariant(std::llround(number))
                   : QVariant(number);
    QList<double> numbers = components(value);
    if (component >= numbers.size())
        return value;
    numbers[component] = number;
    return vectorOf(numbers);
}

} // namespace corvane::gizmo
