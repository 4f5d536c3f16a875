#include <corvane/render/SDFNodePacker.h>

#include <corvane/model/Corvane.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ParameterSlots.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <QColor>
#include <QVector2D>
#include <QVector4D>
#include <initializer_list>

namespace corvane::render::SDFNodePacker {

using namespace Qt::StringLiterals;
using shader::SDFNode;

namespace {

constexpr float defaultSmoothRadius = 0.1f;

void copyComponents(std::initializer_list<float> components, float *target, int count)
{
    const auto given = static_cast<qsizetype>(components.size());
    std::copy_n(components.begin(), std::min<qsizetype>(given, count), target);
}

void writeList(const QVariantList &items, float *target, int count)
{
    for (qsizetype i = 0; i < std::min<qsizetype>(items.size(), count); ++i)
        target[i] = items.at(i).toFloat();
}

/// The usable value of a stored parameter: a literal, or what an expression last gave.
QVariant currentValue(const QVariant &stored)
{
    if (stored.typeId() == qMetaTypeId<model::ParameterValue>())
        return static_cast<const model::ParameterValue *>(stored.constData())->value();
    if (stored.typeId() == QMetaType::QVariantMap)
        return model::ParameterValue::fromVariant(stored).value();
    return stored;
}

QVariant valueOrDefault(const QVariantMap &params, const registry::ParameterDef &parameter)
{
    const auto stored = params.constFind(parameter.name);
    if (stored == params.cend())
        return parameter.defaultValue;
    QVariant value = currentValue(*stored);
    return value.isValid() ? value : parameter.defaultValue;
}

ParameterSlots packedSlots(const QVariantMap &params, const registry::Definition &definition)
{
    ParameterSlots values{};
    int slot = 0;
    for (const registry::ParameterDef &parameter : definition.parameters) {
        const int count = shader::parameterFloatCount(parameter.type);
        if (count == 0)
            continue;
        if (slot >= shader::parameterSlotCount)
            break;
        const int room = std::min(count, shader::parameterSlotCount - slot);
        writeFloats(valueOrDefault(params, parameter), values.data() + slot, room);
        slot += count;
    }
    return values;
}

float smoothRadiusOf(const QVariantMap &params, const registry::Definition *definition)
{
    const QString name = u"smoothness"_s;
    QVariant value = currentValue(params.value(name));
    if (!value.isValid() && definition) {
        for (const registry::ParameterDef &parameter : definition->parameters) {
            if (parameter.name == name)
                value = parameter.defaultValue;
        }
    }
    const float radius = value.toFloat();
    return radius > 0.0f ? radius : defaultSmoothRadius;
}

shader::SDFMaterial materialOf(const model::Instance &instance, const model::Corvane &scene)
{
    model::Material material = instance.material;
    if (!instance.materialId.isNull()) {
        if (const auto catalogued = scene.material(instance.materialId))
            material = catalogued->material;
    }
    const QVector4D &albedo = material.albedo;
    return {.albedo = {albedo.x(), albedo.y(), albedo.z(), albedo.w()},
            .metallic = material.metallic,
            .roughness = material.roughness,
            .emission = material.emission,
            .padding = 0.0f};
}

} // namespace

DefinitionFacts definitionFacts(const QString &definitionId,
                                const shader::SDFShaderGenerator &generator)
{
    DefinitionFacts facts;
    if (!generator.registry())
        return facts;
    facts.definition = generator.registry()->getDefinition(definitionId);
    if (!facts.definition)
        return facts;
    const auto type = shader::ShaderIndexManager::tableOf(*facts.definition);
    if (!type)
        return facts;
    facts.known = true;
    facts.type = *type;
    const int index = generator.indices().indexOf(*type, definitionId);
    if (index >= 0)
        facts.index = static_cast<std::uint32_t>(index);
    if (*type == shader::GpuNodeType::CsgOp)
        facts.operationType =
            static_cast<std::uint32_t>(std::max(0, facts.definition->operationType));
    return facts;
}

bool isOfDefinition(const SDFNode &node, const DefinitionFacts &facts)
{
    return node.type() == facts.type && node.definitionIndex == facts.index &&
           node.operationType == facts.operationType;
}

void pack(SDFNode &node, const model::Instance &instance, const model::Corvane &scene,
          const DefinitionFacts &facts)
{
    node.nodeType = static_cast<std::uint32_t>(facts.type);
    node.definitionIndex = facts.index;
    node.operationType = facts.operationType;

    const QVariantMap params = instance.rawParams();
    node.setParameterSlots(facts.definition ? packedSlots(params, *facts.definition)
                                            : ParameterSlots{});
    node.material = materialOf(instance, scene);
    node.smoothRadius = smoothRadiusOf(params, facts.definition.get());
    const model::NodeModifiers modifiers = instance.modifiers();
    node.densityScale = modifiers.densityScale;
    node.shellThickness = modifiers.shellThickness;
    node.blendSharpness = modifiers.blendSharpness;
    node.materialMode = static_cast<std::uint32_t>(modifiers.materialMode);
}

ParameterSlots packParameters(const model::Instance &instance,
                              const registry::Definition &definition)
{
    return packedSlots(instance.rawParams(), definition);
}

void writeFloats(const QVariant &value, float *target, int count)
{
    std::fill_n(target, count, 0.0f);
    switch (value.typeId()) {
    case QMetaType::QVector2D: {
        const auto v = value.value<QVector2D>();
        return copyComponents({v.x(), v.y()}, target, count);
    }
    case QMetaType::QVector3D: {
        const auto v = value.value<QVector3D>();
        return copyComponents({v.x(), v.y(), v.z()}, target, count);
    }
    case QMetaType::QVector4D: {
        const auto v = value.value<QVector4D>();
        return copyComponents({v.x(), v.y(), v.z(), v.w()}, target, count);
    }
    case QMetaType::QColor: {
        const auto c = value.value<QColor>();
        return copyComponents({static_cast<float>(c.redF()), static_cast<float>(c.greenF()),
                               static_cast<float>(c.blueF()), static_cast<float>(c.alphaF())},
                              target, count);
    }
    case QMetaType::QVariantList:
        return writeList(value.toList(), target, count);
    default:
        return copyComponents({value.toFloat()}, target, count);
    }
}

} // namespace corvane::render::SDFNodePacker
