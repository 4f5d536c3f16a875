#pragma once

#include <corvane/model/TransformPart.h>

#include <QString>
#include <QVariantMap>
#include <QVector3D>

#include <array>

namespace corvane::ops {

/// A translation, a rotation in degrees, a scale.
struct Transform
{
    QVector3D translate{};
    QVector3D rotate{};
    QVector3D scale{1.0f, 1.0f, 1.0f};

    bool operator==(const Transform &) const = default;
};

/// Where something stands: numbers, and for each part that variables drive the expression that
/// does. The numbers of such a part are the value that its expression had when it was last
/// evaluated.
///
/// Parts and axes may be set one by one. An axis of a part that is driven as a whole, or the other
/// way round, makes one expression of both: of "vec3(a, b, c)" and a literal y "vec3(a, 2.0, c)",
/// of any other text "(text).x".
struct DrivenTransform
{
    static constexpr const std::array<model::TransformPart, 3> &parts = model::transformParts;
    /// "tx" of the first axis of the first part.
    static QString axisKey(const model::TransformPart &part, int axis);

    Transform numbers{};
    std::array<QString, 3> expressions{}; ///< by part, without "="; empty where the numbers count
    /// What the expressions were found to give; invalid where that is unknown.
    std::array<QVariant, 3> found{};

    bool isDriven() const;
    /// Takes what a call gives: under the name of a part three numbers, a map of "x", "y", "z", one
    /// number for all, or "=" and an expression; an axis may be an expression, too. A scale takes
    /// one factor, which is x: no other axis of it can be driven.
    /// @return what is wrong, as the rest of a sentence; empty when nothing is, and then `count` is
    ///         the number of axes and parts that were given
    QString take(const QVariantMap &args, int &count);

private:
    using Axes = std::array<QVariant, 3>;

    QVector3D &numbersOf(std::size_t index)
    {
        return numbers.*model::transformField<Transform>(index);
    }
    void drive(std::size_t index, const QString &expression);
    QString takePart(std::size_t index, const Axes &axes, int &count);
    std::array<QString, 3> axisTexts(std::size_t index) const;
};

} // namespace corvane::ops
