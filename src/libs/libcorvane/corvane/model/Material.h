#pragma once

#include <QVariantMap>
#include <QVector4D>

namespace corvane::model {

/// The surface of an item: base colour with alpha, and the usual three scalars.
struct Material
{
    QVector4D albedo{0.8f, 0.8f, 0.8f, 1.0f}; ///< linear red, green, blue, alpha
    float metallic = 0.0f;
    float roughness = 0.5f;
    float emission = 0.0f;

    /// Keys "albedo" (a list of four numbers), "metallic", "roughness", "emission".
    QVariantMap toVariantMap() const;
    /// A missing key keeps its default; an albedo of three numbers is opaque.
    static Material fromVariantMap(const QVariantMap &map);

    /// Exact on albedo, qFuzzyCompare on the scalars.
    bool operator==(const Material &other) const;
};

} // namespace corvane::model
