#pragma once

#include "../shader/TestDefinitions.h"

#include <corvane/model/Corvane.h>

/// A registry of one definition of each kind, and short ways to put instances of them into a scene.
namespace testing {

using corvane::model::Corvane;
using corvane::model::Instance;
using corvane::model::SceneItem;

/// "ball" (radius), "move" (offset), "join" (smoothness), "grow" (amount), "box", "intersect" and
/// "union".
inline void fillRegistry(corvane::registry::Registry &registry)
{
    using enum SDFParameterType;
    const auto add = [&registry](const char *id, NodeType type, const char *code,
                                 const QList<ParameterDef> &parameters, int operation = -1) {
        const auto made =
            shipped(definition(QLatin1String(id), type, QLatin1String(code), parameters));
        made->operationType = operation;
        registry.registerPrimitive(made);
    };
    const auto named = [](const char *name, SDFParameterType type, const QVariant &value) {
        return parameter(QLatin1String(name), type, value);
    };
    add("ball", NodeType::Primitive, "float sdf_ball(vec3 p, float r) { return length(p) - r; }",
        {named("radius", Float, 10.0)});
    add("box", NodeType::Primitive,
        "float sdf_box(vec3 p, float x, float y, float z) { return p.x; }",
        {named("width", Float, 1.0), named("height", Float, 1.0), named("depth", Float, 1.0)});
    add("intersect", NodeType::CSGOperator,
        "float op_intersection(float d1, float d2) { return max(d1, d2); }", {children()}, 2);
    add("union", NodeType::CSGOperator,
        "float op_union(float d1, float d2) { return min(d1, d2); }", {children()}, 0);
    add("join", NodeType::CSGOperator,
        "float op_join(float d1, float d2, float k) { return min(d1, d2); }",
        {named("smoothness", Float, 0.25), children()}, 3);
    add("move", NodeType::PositionTransform,
        "vec3 op_move(vec3 p, vec3 offset) { return p - offset; }",
        {named("offset", Vec3, QVariantList{1.0, 2.0, 3.0}), children()});
    add("grow", NodeType::DistanceModifier,
        "float mod_grow(float d, float amount) { return d - amount; }",
        {named("amount", Float, 0.5), children()});
}

class FilledRegistry : public corvane::registry::Registry
{
public:
    FilledRegistry() { fillRegistry(*this); }
};

/// Ids that sort in the order of their numbers, as the document's maps do.
inline QUuid numberedId(quint32 number)
{
    return QUuid(number, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
}

/// Adds an instance under the next id. `childNames` become "@name" references.
class SceneFixture
{
public:
    Corvane scene;

    QUuid add(const QString &name, const QString &definitionId, const QStringList &childNames = {},
              const QVariantMap &params = {})
    {
        Instance instance(definitionId);
        instance.id = numberedId(++m_lastId);
        instance.name = name;
        instance.setParameters(params);
        if (!childNames.isEmpty()) {
            QVariantList references;
            for (const QString &child : childNames)
                references.append(QString(u'@' + child));
            instance.setParameter(QStringLiteral("children"), references);
        }
        return scene.addItem(instance);
    }

    /// An item that is no part of the field: a group or a domain.
    QUuid addItem(const QString &itemType, const QVector3D &translate = {},
                  const QUuid &parent = {})
    {
        SceneItem item(numberedId(++m_lastId));
        item.itemType = itemType;
        item.translate = translate;
        item.parentId = parent;
        return scene.addItem(item);
    }

    void change(const QUuid &id, const std::function<void(Instance &)> &edit)
    {
        Instance instance = scene.instance(id);
        edit(instance);
        scene.updateItem(instance);
    }

private:
    quint32 m_lastId = 0;
};

} // namespace testing
