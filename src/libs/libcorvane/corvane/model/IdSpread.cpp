#include <corvane/model/IdSpread.h>

#include <corvane/model/SceneKeys.h>

#include <QUuid>

#include <bit>
#include <vector>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// Random ids meet in a quarter of a pair each; this many more are still looked up in no time.
constexpr qint64 harmlessPairs = 10'000'000;
constexpr qint64 pairsPerId = 64;

QList<QUuid> statedIds(const QVariant &items)
{
    QList<QUuid> ids;
    const auto add = [&ids](const QString &key, const QVariant &entry) {
        const QUuid id = SceneKeys::statedId(key, entry.toMap());
        if (!id.isNull())
            ids.append(id);
    };
    const QVariantList list = items.toList();
    for (const QVariant &entry : list)
        add({}, entry);
    const QVariantMap map = items.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        add(it.key(), *it);
    return ids;
}

/// The pairs of ids that fall into one bucket of a hash table of the size that it would have.
qint64 pairsInOneBucket(const QList<QUuid> &ids)
{
    const size_t buckets = std::bit_ceil(2 * size_t(ids.size()) + 1);
    std::vector<quint32> counts(buckets, 0);
    qint64 pairs = 0;
    for (const QUuid &id : ids)
        pairs += counts[qHash(id, 0) & (buckets - 1)]++;
    return pairs;
}

} // namespace

QString flawOfIds(const QVariantMap &block)
{
    for (const QString &key : {u"instances"_s, u"items"_s}) {
        const QList<QUuid> ids = statedIds(block.value(key));
        if (pairsInOneBucket(ids) > harmlessPairs + pairsPerId * ids.size())
            return u"the %1 ids under \"%2\" are too much alike to be looked up by their hash. "
                   "Give the items random ids (UUIDs of version 4), or none"_s.arg(ids.size())
                       .arg(key);
    }
    return {};
}

} // namespace corvane::model
