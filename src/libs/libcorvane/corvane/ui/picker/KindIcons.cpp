#include <corvane/ui/picker/KindIcons.h>

#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using registry::NodeType;

struct Row
{
    QLatin1StringView id;
    QLatin1StringView icon;
};

constexpr Row definitionRows[] = {
    {"box"_L1, "box"_L1},
    {"sphere"_L1, "circle"_L1},
    {"cylinder"_L1, "cylinder"_L1},
    {"cone"_L1, "cone"_L1},
    {"torus"_L1, "torus"_L1},
    {"capsule"_L1, "pill"_L1},
    {"plane"_L1, "square"_L1},
    {"involute_gear"_L1, "cog"_L1},
    {"union"_L1, "squares-unite"_L1},
    {"smooth_union"_L1, "squares-unite"_L1},
    {"chamfer_union"_L1, "squares-unite"_L1},
    {"subtract"_L1, "squares-subtract"_L1},
    {"smooth_subtract"_L1, "squares-subtract"_L1},
    {"intersect"_L1, "squares-intersect"_L1},
    {"smooth_intersect"_L1, "squares-intersect"_L1},
    {"chamfer_intersect"_L1, "squares-intersect"_L1},
    {"xor"_L1, "squares-exclude"_L1},
    {"translate"_L1, "move-3d"_L1},
    {"rotate"_L1, "rotate-3d"_L1},
    {"scale"_L1, "scale-3d"_L1},
    {"mirror"_L1, "flip-horizontal-2"_L1},
    {"twist"_L1, "tornado"_L1},
    {"bend"_L1, "spline"_L1},
};

constexpr Row categoryRows[] = {
    {"Lattice"_L1, "hexagon"_L1},
    {"Repeat"_L1, "grid-3x3"_L1},
    {"Field"_L1, "waves"_L1},
};

constexpr Row typeRows[] = {
    {"group"_L1, "folder"_L1},     {"sdf_domain"_L1, "layers"_L1}, {"mesh"_L1, "shapes"_L1},
    {"tet_volume"_L1, "boxes"_L1}, {"camera"_L1, "camera"_L1},     {"light"_L1, "sun"_L1},
};

template<std::size_t count>
QString find(const Row (&rows)[count], const QString &id)
{
    const auto it = std::find_if(std::begin(rows), std::end(rows),
                                 [&id](const Row &row) { return row.id == id; });
    return it == std::end(rows) ? QString() : QString(it->icon);
}

QString iconOfType(NodeType type)
{
    switch (type) {
    case NodeType::CSGOperator:
        return u"squares-unite"_s;
    case NodeType::PositionTransform:
        return u"move-3d"_s;
    case NodeType::DistanceModifier:
    case NodeType::PositionAwareModifier:
        return u"blend"_s;
    case NodeType::ScalarField:
        return u"waves"_s;
    case NodeType::Primitive:
    case NodeType::Unknown:
        break;
    }
    return u"shapes"_s;
}

} // namespace

QString iconOfDefinition(const registry::Definition &definition)
{
    if (const QString own = find(definitionRows, definition.id); !own.isEmpty())
        return own;
    const QString category = find(categoryRows, definition.category);
    return category.isEmpty() ? iconOfType(definition.nodeType) : category;
}

QString iconOfItem(const QString &itemType, const QString &definitionId, bool isContainer,
                   bool isComponent)
{
    if (isComponent)
        return u"component"_s;
    if (const auto definition = registry::Registry::instance().getDefinition(definitionId))
        return iconOfDefinition(*definition);
    const QString type = find(typeRows, itemType);
    if (!type.isEmpty())
        return type;
    return isContainer ? u"folder"_s : u"circle-question-mark"_s;
}

} // namespace corvane::ui
