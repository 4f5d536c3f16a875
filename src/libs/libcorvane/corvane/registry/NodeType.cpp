#include <corvane/registry/NodeType.h>

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

struct NodeTypeRow
{
    QLatin1StringView display;
    QLatin1StringView words[3];
};

constexpr NodeTypeRow rows[] = {
    {"Unknown"_L1, {}},
    {"Primitive"_L1, {"primitive"_L1, "prim"_L1}},
    {"CSG Operator"_L1, {"csg"_L1, "csgoperator"_L1, "csg operator"_L1}},
    {"Position Transform"_L1, {"transform"_L1, "positiontransform"_L1, "position transform"_L1}},
    {"Distance Modifier"_L1, {"modifier"_L1, "distancemodifier"_L1, "distance modifier"_L1}},
    {"Position Aware Modifier"_L1,
     {"pam"_L1, "positionawaremodifier"_L1, "position aware modifier"_L1}},
    {"Scalar Field"_L1, {"field"_L1, "scalarfield"_L1, "scalar field"_L1}},
};
static_assert(std::size(rows) == nodeTypeCount);

} // namespace

QString nodeTypeToString(NodeType type)
{
    const int number = int(type);
    return number >= 0 && number < nodeTypeCount ? QString(rows[number].display) : u"Invalid"_s;
}

NodeType nodeTypeFromString(QStringView word)
{
    const QString lower = word.trimmed().toString().toLower();
    for (int i = 1; i < nodeTypeCount; ++i) {
        for (const QLatin1StringView known : rows[i].words) {
            if (!known.isEmpty() && lower == known)
                return NodeType(i);
        }
    }
    return NodeType::Unknown;
}

} // namespace corvane::registry
