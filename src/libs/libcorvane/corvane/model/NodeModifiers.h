#pragma once

#include <QLatin1StringView>
#include <QVariantMap>

#include <array>

namespace corvane::model {

/// What a node says of its field beside its parameters.
struct NodeModifiers
{
    float densityScale = 1.0f;   ///< inflation: `densityScale - 1` is added to the distance
    float shellThickness = 0.0f; ///< above 0 the distance becomes `abs(d) - shellThickness`
    float blendSharpness = 0.7f; ///< of materials, where a join is smooth
    int materialMode = 2;        ///< a shader::MaterialMode

    /// All of them by their keys.
    QVariantMap toVariantMap() const;

    bool operator==(const NodeModifiers &) const = default;
};

/// One of them: exactly one of the fields is set.
struct NodeModifier
{
    QLatin1StringView key; ///< in maps of nodes and items, and in calls
    float NodeModifiers::*number = nullptr;
    int NodeModifiers::*whole = nullptr;

    QVariant value(const NodeModifiers &modifiers) const;
    void set(NodeModifiers &modifiers, double value) const;
    bool isSame(const NodeModifiers &a, const NodeModifiers &b) const;
};

inline constexpr std::array<NodeModifier, 4> nodeModifiers{{
    {QLatin1StringView("densityScale"), &NodeModifiers::densityScale, nullptr},
    {QLatin1StringView("shellThickness"), &NodeModifiers::shellThickness, nullptr},
    {QLatin1StringView("blendSharpness"), &NodeModifiers::blendSharpness, nullptr},
    {QLatin1StringView("materialMode"), nullptr, &NodeModifiers::materialMode},
}};

/// Null when there is none of that key.
const NodeModifier *findNodeModifier(const QString &key);

} // namespace corvane::model
