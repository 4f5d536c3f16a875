#include <corvane/model/LogicalInstance.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

std::optional<QVector3D> readVector(const QVariant &value)
{
    const auto floats = readFloats<3>(value);
    if (!floats)
        return std::nullopt;
    return QVector3D((*floats)[0], (*floats)[1], (*floats)[2]);
}

/// What the values of a wrapper say about the transform that it applies.
std::optional<QVector3D> transformOfWrapper(const LogicalInstance &node, const TransformPart &part)
{
    const WrapperValues *wrapper = node.wrapper(part.key);
    if (!wrapper)
        return std::nullopt;
    const auto stored = wrapper->values.constFind(part.parameter);
    if (stored == wrapper->values.cend())
        return std::nullopt;
    const QVariant value = plainForFile(ParameterValue::fromVariant(*stored).value());
    if (value.typeId() == QMetaType::QVariantList)
        return readVector(value.toList().mid(0, 3));
    const auto factor = part.isUniform && value.isValid() ? readFloat(value) : std::nullopt;
    return factor ? std::optional(QVector3D(*factor, *factor, *factor)) : std::nullopt;
}

QVariantMap plainParameters(const QVariantMap &params)
{
    QVariantMap plain;
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        plain.insert(plain.cend(), it.key(), parameterForFile(*it));
    return plain;
}

QStringList wrapperIds(const LogicalInstance &node)
{
    QStringList ids;
    for (const WrapperValues &wrapper : node.wrappers)
        ids.append(wrapper.definitionId);
    return ids;
}

void writeWrappers(QVariantMap &map, const LogicalInstance &node)
{
    const QStringList initial = initialWrappers(node.definitionId, node.componentDefId);
    if (node.wrappers.isEmpty()) {
        if (!initial.isEmpty())
            map.insert(u"wrapperOrder"_s, QVariantList());
        return;
    }
    QVariantMap wrappers;
    for (const WrapperValues &wrapper : node.wrappers)
        wrappers.insert(wrapper.definitionId, plainParameters(wrapper.values));
    map.insert(u"wrappers"_s, wrappers);
    const QStringList ids = wrapperIds(node);
    if (ids != wrapperMapOrder(ids, initial))
        map.insert(u"wrapperOrder"_s, QVariant(ids).toList());
}

void writeTransforms(QVariantMap &map, const LogicalInstance &node)
{
    for (std::size_t i = 0; i < transformParts.size(); ++i) {
        const TransformPart &part = transformParts[i];
        const QVector3D &value = node.*transformField<LogicalInstance>(i);
        const bool isDefault = value == part.none;
        // The reader would take the wrapper's value for a transform that is not there.
        if (!isDefault || transformOfWrapper(node, part).value_or(value) != value)
            map.insert(part.key, plainForFile(value));
    }
}

void writeText(QVariantMap &map, const QString &key, const QString &text)
{
    if (!text.isEmpty())
        map.insert(key, text);
}

void writeSurface(QVariantMap &map, const LogicalInstance &node)
{
    // Material's own comparison is fuzzy; a difference in the last digits is one here.
    static const QVariantMap defaultMaterial = Material().toVariantMap();
    const QVariantMap material = node.material.toVariantMap();
    if (material != defaultMaterial)
        map.insert(u"material"_s, material);
    if (!node.materialId.isNull())
        map.insert(u"materialId"_s, node.materialId.toString(QUuid::WithoutBraces));
    for (const NodeModifier &modifier : nodeModifiers) {
        if (!modifier.isSame(node.modifiers, {}))
            map.insert(modifier.key, plainForFile(modifier.value(node.modifiers)));
    }
}

QVariantList sortedTags(const QSet<QString> &tags)
{
    QStringList sorted = tags.values();
    sorted.sort();
    return QVariant(sorted).toList();
}

QVariantList idTexts(const QList<QUuid> &ids)
{
    QVariantList texts;
    for (const QUuid &id : ids)
        texts.append(id.toString(QUuid::WithoutBraces));
    return texts;
}

/// Wrappers as a map, whatever form the file has.
QVariantMap wrapperMap(const QVariant &stored, QStringList &order)
{
    if (stored.typeId() != QMetaType::QVariantList)
        return stored.toMap();
    QVariantMap wrappers;
    const QVariantList list = stored.toList();
    for (const QVariant &entry : list) {
        const QVariantMap map = entry.toMap();
        const QString id =
            map.isEmpty() ? entry.toString() : map.value(u"definitionId"_s).toString();
        if (id.isEmpty() || wrappers.contains(id))
            continue;
        order.append(id);
        wrappers.insert(id, map.value(u"values"_s).toMap());
    }
    return wrappers;
}

void readWrappers(LogicalInstance &node, const QVariantMap &map)
{
    QStringList order = map.value(u"wrapperOrder"_s).toStringList();
    const QVariantMap wrappers = wrapperMap(map.value(u"wrappers"_s), order);
    if (wrappers.isEmpty() && order.isEmpty())
        return;
    const QStringList initial = initialWrappers(node.definitionId, node.componentDefId);
    QSet<QString> placed;
    for (const QString &id : order + wrapperMapOrder(wrappers.keys(), initial)) {
        if (id.isEmpty() || placed.contains(id))
            continue;
        placed.insert(id);
        node.wrappers.append({id, plainParameters(wrappers.value(id).toMap())});
    }
}

void readTransforms(LogicalInstance &node, const QVariantMap &map)
{
    for (std::size_t i = 0; i < transformParts.size(); ++i) {
        const TransformPart &part = transformParts[i];
        auto value = readVector(map.value(part.key));
        if (!value)
            value = transformOfWrapper(node, part);
        node.*transformField<LogicalInstance>(i) = value.value_or(part.none);
    }
}

void readModifiers(NodeModifiers &modifiers, const QVariantMap &map)
{
    for (const NodeModifier &modifier : nodeModifiers) {
        const auto stored = map.constFind(modifier.key);
        if (stored == map.cend())
            continue;
        bool isWhole = false;
        const int whole = stored->toInt(&isWhole);
        const auto number = readFloat(*stored);
        if (modifier.number ? number.has_value() : isWhole)
            modifier.set(modifiers, modifier.number ? double(*number) : double(whole));
    }
}

void readSurface(LogicalInstance &node, const QVariantMap &map)
{
    node.material = Material::fromVariantMap(map.value(u"material"_s).toMap());
    node.materialId = QUuid::fromString(map.value(u"materialId"_s).toString());
    readModifiers(node.modifiers, map);
}

} // namespace

const WrapperValues *LogicalInstance::wrapper(const QString &wrapperId) const
{
    const auto it =
        std::find_if(wrappers.cbegin(), wrappers.cend(), [&wrapperId](const WrapperValues &entry) {
            return entry.definitionId == wrapperId;
        });
    return it == wrappers.cend() ? nullptr : &*it;
}

WrapperValues *LogicalInstance::wrapper(const QString &wrapperId)
{
    wrappers.detach();
    return const_cast<WrapperValues *>(std::as_const(*this).wrapper(wrapperId));
}

QUuid LogicalInstance::displayParent() const
{
    return hasOwnItem() ? QUuid::fromString(ownItem.value(u"parentId"_s).toString()) : QUuid();
}

bool LogicalInstance::takeTransformOf(const QString &wrapperId)
{
    const std::size_t part = transformPartOf(wrapperId);
    const auto value = part < transformParts.size()
                           ? transformOfWrapper(*this, transformParts[part])
                           : std::nullopt;
    if (value)
        this->*transformField<LogicalInstance>(part) = *value;
    return value.has_value();
}

QVariantMap LogicalInstance::toVariantMap() const
{
    QVariantMap map{{u"id"_s, id.toString(QUuid::WithoutBraces)}};
    writeText(map, u"type"_s, definitionId);
    writeText(map, u"component"_s, componentDefId);
    writeText(map, u"name"_s, name);
    if (!params.isEmpty())
        map.insert(u"params"_s, plainParameters(params));
    writeWrappers(map, *this);
    if (!children.isEmpty())
        map.insert(u"children"_s, idTexts(children));
    if (!tags.isEmpty())
        map.insert(u"tags"_s, sortedTags(tags));
    writeSurface(map, *this);
    writeTransforms(map, *this);
    if (hasOwnItem())
        map.insert(u"ownItem"_s, plainForFile(ownItem));
    if (isReference())
        map.insert(u"original"_s, original.toString(QUuid::WithoutBraces));
    return map;
}

LogicalInstance LogicalInstance::fromVariantMap(const QVariantMap &map)
{
    LogicalInstance node(QUuid::fromString(map.value(u"id"_s).toString()));
    node.componentDefId = map.value(u"component"_s).toString();
    if (node.componentDefId.isEmpty())
        node.definitionId = map.value(u"type"_s).toString();
    node.name = map.value(u"name"_s).toString();
    node.params = plainParameters(map.value(u"params"_s).toMap());
    readWrappers(node, map);
    const QStringList childTexts = map.value(u"children"_s).toStringList();
    for (const QString &text : childTexts) {
        if (const QUuid child = QUuid::fromString(text); !child.isNull())
            node.children.append(child);
    }
    const QStringList tagTexts = map.value(u"tags"_s).toStringList();
    node.tags = QSet<QString>(tagTexts.cbegin(), tagTexts.cend());
    readSurface(node, map);
    readTransforms(node, map);
    node.ownItem = map.value(u"ownItem"_s).toMap();
    node.original = QUuid::fromString(map.value(u"original"_s).toString());
    return node;
}

QStringList wrapperMapOrder(QStringList wrapperIds, const QStringList &initial)
{
    std::sort(wrapperIds.begin(), wrapperIds.end(), [&initial](const QString &a, const QString &b) {
        const qsizetype rankA = initial.indexOf(a);
        const qsizetype rankB = initial.indexOf(b);
        if (rankA == rankB)
            return a < b;
        return rankA >= 0 && (rankB < 0 || rankA < rankB);
    });
    return wrapperIds;
}

QStringList initialWrappers(const QString &definitionId, const QString &componentDefId)
{
    if (!componentDefId.isEmpty())
        return {transformParts[0].key, transformParts[1].key, transformParts[2].key};
    if (definitionId.isEmpty())
        return {};
    const auto definition = registry::Registry::instance().getDefinition(definitionId);
    return definition ? definition->convenienceWrappers : QStringList();
}

} // namespace corvane::model
