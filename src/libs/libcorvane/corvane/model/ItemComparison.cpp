#include <corvane/model/ItemComparison.h>

#include <corvane/model/Instance.h>
#include <corvane/model/PlainValue.h>

#include <algorithm>
#include <tuple>

namespace corvane::model {

namespace {

const QString paramsKey = QStringLiteral("params");
const QString provenanceKey = QStringLiteral("__provenance");

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

template<class Plain>
bool isSameMap(const QVariantMap &a, const QVariantMap &b, const Plain &plain)
{
    const auto isSameEntry = [&plain](const auto &entryA, const auto &entryB) {
        return entryA.first == entryB.first &&
               isSameValue(plain(entryA.second), plain(entryB.second));
    };
    return std::equal(a.constKeyValueBegin(), a.constKeyValueEnd(), b.constKeyValueBegin(),
                      b.constKeyValueEnd(), isSameEntry);
}

/// All of the items' data but where they come from.
bool isSameData(QVariantMap a, QVariantMap b)
{
    a.remove(provenanceKey);
    b.remove(provenanceKey);
    const QVariantMap paramsA = a.take(paramsKey).toMap();
    const QVariantMap paramsB = b.take(paramsKey).toMap();
    return isSameMap(paramsA, paramsB, parameterForFile) && isSameMap(a, b, plainForFile);
}

/// Who lists an item is said by the one that does; here it is said for those who read.
bool isSameProvenance(const Instance &a, const Instance &b)
{
    if (a.typeData.value(provenanceKey) == b.typeData.value(provenanceKey))
        return true;
    SDFNodeProvenance fromA = a.provenance();
    fromA.parentCompiledId = b.provenance().parentCompiledId;
    return fromA == b.provenance();
}

QSet<QString> lastingTags(const SceneItem &item)
{
    return item.tags - QSet<QString>{ItemTags::Selected, ItemTags::Hovered};
}

} // namespace

bool isSameValue(const QVariant &a, const QVariant &b)
{
    if (isNumber(a) && isNumber(b))
        return a.toDouble() == b.toDouble();
    if (a.typeId() != b.typeId())
        return false;
    if (a.typeId() == QMetaType::QVariantList) {
        const QVariantList listA = a.toList(), listB = b.toList();
        return std::equal(listA.cbegin(), listA.cend(), listB.cbegin(), listB.cend(), isSameValue);
    }
    if (a.typeId() == QMetaType::QVariantMap)
        return isSameMap(a.toMap(), b.toMap(), [](const QVariant &value) { return value; });
    return a == b;
}

bool isSameItem(const Instance &a, const Instance &b)
{
    const auto fields = [](const SceneItem &item) {
        return std::tie(item.itemType, item.name, item.capabilities, item.material, item.materialId,
                        item.translate, item.rotate, item.scale, item.parentId, item.sortOrder);
    };
    return fields(a) == fields(b) && (a.tags == b.tags || lastingTags(a) == lastingTags(b)) &&
           isSameProvenance(a, b) && isSameData(a.typeData, b.typeData);
}

} // namespace corvane::model
