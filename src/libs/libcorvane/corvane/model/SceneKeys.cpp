#include <corvane/model/SceneKeys.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QUuid keyNamespace(0x6d1f7c52, 0x9a3e, 0x4b0d, 0x8f, 0x21, 0x3c, 0x5e, 0x77, 0x90, 0xab,
                         0x14);

bool holdsNoneOf(const QString &name, QLatin1StringView characters)
{
    return std::none_of(name.cbegin(), name.cend(),
                        [characters](QChar c) { return characters.contains(c); });
}

} // namespace

bool SceneKeys::isSafe(const QString &name)
{
    return isSafeForNode(name) && !name.contains(u'-');
}

bool SceneKeys::isSafeForNode(const QString &name)
{
    return !name.isEmpty() && name == name.trimmed() && !name.startsWith(u'-') &&
           !name.startsWith(QChar::ByteOrderMark) && holdsNoneOf(name, ":#\"'\n\r"_L1) &&
           QUuid::fromString(name).isNull();
}

QVariantMap SceneKeys::withName(const QString &key, QVariantMap map)
{
    if (!map.contains(u"name"_s) && !key.contains(u'-'))
        map.insert(u"name"_s, key);
    return map;
}

QUuid SceneKeys::statedId(const QString &key, const QVariantMap &map)
{
    const QUuid id = QUuid::fromString(map.value(u"id"_s).toString());
    return id.isNull() ? QUuid::fromString(key) : id;
}

QUuid SceneKeys::idOf(const QString &text)
{
    return QUuid::createUuidV5(keyNamespace, text);
}

} // namespace corvane::model
