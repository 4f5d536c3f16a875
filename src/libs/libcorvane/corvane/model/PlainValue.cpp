#include <corvane/model/PlainValue.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/yaml/PlainValue.h>

#include <QColor>
#include <QMetaType>
#include <QUuid>
#include <QVector4D>

#include <cmath>

namespace corvane::model {

namespace {

QVariantList plainList(const QVariantList &values)
{
    QVariantList list;
    list.reserve(values.size());
    for (const QVariant &value : values)
        list.append(plainForFile(value));
    return list;
}

QVariantMap plainMap(const QVariantMap &values)
{
    QVariantMap map;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        map.insert(map.cend(), it.key(), plainForFile(*it));
    return map;
}

} // namespace

QVariant plainForFile(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Float:
        return yaml::decimalOf(value.toFloat());
    case QMetaType::QColor: {
        const QColor colour = value.value<QColor>();
        return yaml::plainValue(
            QVector4D(colour.redF(), colour.greenF(), colour.blueF(), colour.alphaF()));
    }
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toLongLong();
    case QMetaType::QUuid:
        return value.toUuid().toString(QUuid::WithoutBraces);
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return plainList(value.toList());
    case QMetaType::QVariantMap:
        return plainMap(value.toMap());
    default:
        // Parameters may stand in any item's data.
        return value.metaType() == QMetaType::fromType<ParameterValue>() ? parameterForFile(value)
                                                                         : yaml::plainValue(value);
    }
}

std::optional<float> readFloat(const QVariant &value)
{
    bool isNumber = false;
    const float number = value.toFloat(&isNumber);
    if (!isNumber || !std::isfinite(number))
        return std::nullopt;
    return number;
}

template<std::size_t N>
std::optional<std::array<float, N>> readFloats(const QVariant &value)
{
    const QVariantList list = plainForFile(value).toList();
    if (list.size() != qsizetype(N))
        return std::nullopt;
    std::array<float, N> floats{};
    for (std::size_t i = 0; i < N; ++i) {
        const auto number = readFloat(list.at(qsizetype(i)));
        if (!number)
            return std::nullopt;
        floats[i] = *number;
    }
    return floats;
}

template std::optional<std::array<float, 2>> readFloats<2>(const QVariant &);
template std::optional<std::array<float, 3>> readFloats<3>(const QVariant &);
template std::optional<std::array<float, 4>> readFloats<4>(const QVariant &);

} // namespace corvane::model
