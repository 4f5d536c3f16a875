#include <corvane/model/Material.h>

#include <corvane/model/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

QVariantMap Material::toVariantMap() const
{
    return {
        {u"albedo"_s, plainForFile(albedo)},
        {u"metallic"_s, plainForFile(metallic)},
        {u"roughness"_s, plainForFile(roughness)},
        {u"emission"_s, plainForFile(emission)},
    };
}

Material Material::fromVariantMap(const QVariantMap &map)
{
    Material material;
    const QVariant albedo = map.value(u"albedo"_s);
    if (const auto rgba = readFloats<4>(albedo))
        material.albedo = {(*rgba)[0], (*rgba)[1], (*rgba)[2], (*rgba)[3]};
    else if (const auto rgb = readFloats<3>(albedo))
        material.albedo = {(*rgb)[0], (*rgb)[1], (*rgb)[2], 1.0f};
    material.metallic = readFloat(map.value(u"metallic"_s)).value_or(material.metallic);
    material.roughness = readFloat(map.value(u"roughness"_s)).value_or(material.roughness);
    material.emission = readFloat(map.value(u"emission"_s)).value_or(material.emission);
    return material;
}

bool Material::operator==(const Material &other) const
{
    return albedo == other.albedo && qFuzzyCompare(metallic, other.metallic) &&
           qFuzzyCompare(roughness, other.roughness) && qFuzzyCompare(emission, other.emission);
}

} // namespace corvane::model
