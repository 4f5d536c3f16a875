#pragma once

#include <corvane/model/Material.h>

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {

/// A named material of a catalogue. Items refer to one by its id.
struct CatalogMaterial
{
    QUuid id = QUuid::createUuid();
    QString name = QStringLiteral("Unnamed");
    QString category = QStringLiteral("Custom");
    bool isBuiltIn = false;
    Material material;
    QDateTime lastModified; ///< set by touchModified(), invalid until then

    void setAlbedo(const QVector4D &albedo);
    void setMetallic(float metallic);   ///< clamped to 0..1
    void setRoughness(float roughness); ///< clamped to 0..1
    void setEmission(float emission);   ///< not below 0
    void touchModified();

    /// Keys "name", "category", "isBuiltIn", "albedo", "metallic", "roughness", "emission",
    /// "lastModified". The id is no part of it: each container of materials writes ids in its own
    /// way.
    QVariantMap toVariantMap() const;
    /// A new id unless `map` has "id". Values out of range are clamped as by the setters.
    static CatalogMaterial fromVariantMap(const QVariantMap &map);
    /// One line for lists.
    QString summary() const;

    bool operator==(const CatalogMaterial &) const = default;
};

} // namespace corvane::model
