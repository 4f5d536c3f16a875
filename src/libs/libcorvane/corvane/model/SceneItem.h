#pragma once

#include <corvane/model/Material.h>

#include <QMatrix4x4>
#include <QSet>
#include <QString>
#include <QUuid>
#include <QVariantMap>
#include <QVector3D>

namespace corvane::model {

/// The words of SceneItem::itemType.
namespace ItemTypes {
inline const QString Sdf = QStringLiteral("sdf");
inline const QString Mesh = QStringLiteral("mesh");
inline const QString TetVolume = QStringLiteral("tet_volume");
inline const QString Group = QStringLiteral("group");
inline const QString SdfDomain = QStringLiteral("sdf_domain");
inline const QString Camera = QStringLiteral("camera");
} // namespace ItemTypes

/// The words of SceneItem::tags.
namespace ItemTags {
inline const QString Selected = QStringLiteral("selected");
inline const QString Locked = QStringLiteral("locked");
inline const QString Hidden = QStringLiteral("hidden");
inline const QString Hovered = QStringLiteral("hovered");
inline const QString Ghost = QStringLiteral("ghost");
inline const QString Loading = QStringLiteral("loading");
inline const QString Compiled = QStringLiteral("compiled");
inline const QString Proxied = QStringLiteral("proxied");
inline const QString Isolated = QStringLiteral("isolated");
inline const QString Imported = QStringLiteral("imported");
inline const QString Generated = QStringLiteral("generated");
} // namespace ItemTags

/// The tags that mean something on items of the field.
namespace InstanceTags {
using ItemTags::Ghost;
using ItemTags::Hidden;
using ItemTags::Hovered;
using ItemTags::Isolated;
using ItemTags::Locked;
using ItemTags::Selected;
} // namespace InstanceTags

/// `SceneItem::capabilities` of the items that the document makes itself. Other words are kept as
/// they are.
namespace ItemCapabilities {
inline constexpr quint32 sdfItem = 3;
inline constexpr quint32 groupItem = 0x10013;
} // namespace ItemCapabilities

/// The keys of an item's map that are read into fields; every other key is `typeData`.
const QSet<QString> &kCommonKeys();

/// A record of the scene document: a plain value of some item type.
struct SceneItem
{
    QUuid id;
    QString itemType = ItemTypes::Sdf;
    QString name; ///< unique where set; the document indexes it
    QSet<QString> tags;
    quint32 capabilities = 0;
    Material material;
    QUuid materialId; ///< a catalogue material; wins over `material` when set
    QVector3D translate;
    QVector3D rotate; ///< Euler angles in degrees
    QVector3D scale{1.0f, 1.0f, 1.0f};
    QUuid parentId; ///< in the display hierarchy, which is not the expression of the field
    qint32 sortOrder = 0;
    QVariantMap typeData; ///< all that is particular to the item type

    /// An item with a new random id.
    SceneItem()
        : SceneItem(QUuid::createUuid())
    {}
    explicit SceneItem(const QUuid &itemId)
        : id(itemId)
    {}

    /// Translate, then rotate about X, about Y, about Z, then scale, in the call order of
    /// QMatrix4x4.
    QMatrix4x4 modelMatrix() const;
    bool hasTag(const QString &tag) const { return tags.contains(tag); }

    /// The map of a file: fields at their default are left out, `id` and `itemType` are always
    /// there, and `typeData` is spread over it.
    QVariantMap toVariantMap() const;
    /// A missing or null "id" gives a new id. "translate", "rotate" and "scale" count only as lists
    /// of exactly three numbers. The older "transform" (16 numbers) gives the translation where
    /// "translate" left it zero.
    static SceneItem fromVariantMap(const QVariantMap &map);

    bool operator==(const SceneItem &) const = default;
};

} // namespace corvane::model
