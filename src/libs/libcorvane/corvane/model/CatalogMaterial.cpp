#include <corvane/model/CatalogMaterial.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

void CatalogMaterial::setAlbedo(const QVector4D &albedo)
{
    material.albedo = albedo;
}

void CatalogMaterial::setMetallic(float metallic)
{
    material.metallic = std::clamp(metallic, 0.0f, 1.0f);
}

void CatalogMaterial::setRoughness(float roughness)
{
    material.roughness = std::clamp(roughness, 0.0f, 1.0f);
}

void CatalogMaterial::setEmission(float emission)
{
    material.emission = std::max(emission, 0.0f);
}

void CatalogMaterial::touchModified()
{
    lastModified = QDateTime::currentDateTimeUtc();
}

QVariantMap CatalogMaterial::toVariantMap() const
{
    QVariantMap map = material.toVariantMap();
    map.insert(u"name"_s, name);
    map.insert(u"category"_s, category);
    map.insert(u"isBuiltIn"_s, isBuiltIn);
    if (lastModified.isValid())
        map.insert(u"lastModified"_s, lastModified.toString(Qt::ISODateWithMs));
    return map;
}

CatalogMaterial CatalogMaterial::fromVariantMap(const QVariantMap &map)
{
    CatalogMaterial result;
    const QUuid id = QUuid::fromString(map.value(u"id"_s).toString());
    if (!id.isNull())
        result.id = id;
    result.name = map.value(u"name"_s, result.name).toString();
    result.category = map.value(u"category"_s, result.category).toString();
    result.isBuiltIn = map.value(u"isBuiltIn"_s).toBool();
    const Material read = Material::fromVariantMap(map);
    result.setAlbedo(read.albedo);
    result.setMetallic(read.metallic);
    result.setRoughness(read.roughness);
    result.setEmission(read.emission);
    const QString modified = map.value(u"lastModified"_s).toString();
    result.lastModified = QDateTime::fromString(modified, Qt::ISODateWithMs);
    return result;
}

QString CatalogMaterial::summary() const
{
    return u"%1 (%2): metallic %3, roughness %4, emission %5"_s.arg(
        name, category, QString::number(material.metallic), QString::number(material.roughness),
        QString::number(material.emission));
}

} // namespace corvane::model
