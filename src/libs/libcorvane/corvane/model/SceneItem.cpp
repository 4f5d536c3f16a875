#include <corvane/model/SceneItem.h>

#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

QVector3D readVector(const QVariantMap &map, const QString &key, const QVector3D &fallback)
{
    const auto floats = readFloats<3>(map.value(key));
    return floats ? QVector3D((*floats)[0], (*floats)[1], (*floats)[2]) : fallback;
}

/// The translation of a column-major 4x4 matrix as older files hold it.
QVector3D legacyTranslation(const QVariant &transform)
{
    const QVariantList matrix = transform.toList();
    if (matrix.size() != 16)
        return {};
    const auto floats = readFloats<3>(QVariantList{matrix.at(12), matrix.at(13), matrix.at(14)});
    return floats ? QVector3D((*floats)[0], (*floats)[1], (*floats)[2]) : QVector3D();
}

void readTags(SceneItem &item, const QVariant &value)
{
    const QStringList words = value.toStringList();
    item.tags = QSet<QString>(words.cbegin(), words.cend());
}

QVariantMap otherKeys(QVariantMap map)
{
    const QSet<QString> &common = kCommonKeys();
    const auto isCommon = [&common](const QString &key) { return common.contains(key); };
    if (std::any_of(map.keyBegin(), map.keyEnd(), isCommon))
        map.removeIf([&isCommon](QVariantMap::iterator it) { return isCommon(it.key()); });
    return map;
}

} // namespace

const QSet<QString> &kCommonKeys()
{
    static const QSet<QString> keys{
        u"id"_s,         u"name"_s,         u"itemType"_s,  u"tags"_s,  u"material"_s,
        u"materialId"_s, u"translate"_s,    u"rotate"_s,    u"scale"_s, u"parentId"_s,
        u"sortOrder"_s,  u"capabilities"_s, u"transform"_s,
    };
    return keys;
}

QMatrix4x4 SceneItem::modelMatrix() const
{
    QMatrix4x4 matrix;
    matrix.translate(translate);
    matrix.rotate(rotate.x(), 1.0f, 0.0f, 0.0f);
    matrix.rotate(rotate.y(), 0.0f, 1.0f, 0.0f);
    matrix.rotate(rotate.z(), 0.0f, 0.0f, 1.0f);
    matrix.scale(scale);
    return matrix;
}

QVariantMap SceneItem::toVariantMap() const
{
    QVariantMap map = otherKeys(typeData);
    map.insert(u"id"_s, id.toString(QUuid::WithoutBraces));
    map.insert(u"itemType"_s, itemType);
    if (!name.isEmpty())
        map.insert(u"name"_s, name);
    if (!tags.isEmpty()) {
        QStringList sorted = tags.values();
        sorted.sort();
        map.insert(u"tags"_s, plainForFile(sorted));
    }
    if (material != Material())
        map.insert(u"material"_s, material.toVariantMap());
    if (!materialId.isNull())
        map.insert(u"materialId"_s, materialId.toString());
    for (std::size_t i = 0; i < transformParts.size(); ++i) {
        const QVector3D &value = this->*transformField<SceneItem>(i);
        if (value != transformParts[i].none)
            map.insert(transformParts[i].key, plainForFile(value));
    }
    if (!parentId.isNull())
        map.insert(u"parentId"_s, parentId.toString(QUuid::WithoutBraces));
    if (sortOrder != 0)
        map.insert(u"sortOrder"_s, sortOrder);
    if (capabilities != 0)
        map.insert(u"capabilities"_s, qlonglong(capabilities));
    return map;
}

SceneItem SceneItem::fromVariantMap(const QVariantMap &map)
{
    SceneItem item(QUuid::fromString(map.value(u"id"_s).toString()));
    if (item.id.isNull())
        item.id = QUuid::createUuid();
    item.itemType = map.value(u"itemType"_s, ItemTypes::Sdf).toString();
    item.name = map.value(u"name"_s).toString();
    readTags(item, map.value(u"tags"_s));
    item.capabilities = map.value(u"capabilities"_s).toUInt();
    item.material = Material::fromVariantMap(map.value(u"material"_s).toMap());
    item.materialId = QUuid::fromString(map.value(u"materialId"_s).toString());
    for (std::size_t i = 0; i < transformParts.size(); ++i)
        item.*transformField<SceneItem>(i) =
            readVector(map, transformParts[i].key, transformParts[i].none);
    if (item.translate.isNull())
        item.translate = legacyTranslation(map.value(u"transform"_s));
    item.parentId = QUuid::fromString(map.value(u"parentId"_s).toString());
    item.sortOrder = map.value(u"sortOrder"_s).toInt();
    item.typeData = otherKeys(map);
    return item;
}

} // namespace corvane::model
