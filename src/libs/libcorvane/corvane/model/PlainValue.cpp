#include <corvane/model/PlainValue.h>

#include <corvane/model/ParameterValue.h>

#include <QColor>
#include <QMetaType>
#include <QUuid>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <charconv>
#include <cmath>

namespace corvane::model {

namespace {

/// 0.1f as 0.1 and not as 0.10000000149: the double of the shortest text that names the float.
double shortestDouble(float value)
{
    if (!std::isfinite(value))
        return double(value);
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    double result = double(value);
    std::from_chars(text.data(), written.ptr, result);
    return result;
}

template<class Vector>
QVariantList components(const Vector &vector, int count)
{
    QVariantList list;
    for (int i = 0; i < count; ++i)
        list.append(shortestDouble(vector[i]));
    return list;
}

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
        return shortestDouble(value.toFloat());
    case QMetaType::QVector2D:
        return components(value.value<QVector2D>(), 2);
    case QMetaType::QVector3D:
        return components(value.value<QVector3D>(), 3);
    case QMetaType::QVector4D:
        return components(value.value<QVector4D>(), 4);
    case QMetaType::QColor: {
        const QColor colour = value.value<QColor>();
        return components(
            QVector4D(colour.redF(), colour.greenF(), colour.blueF(), colour.alphaF()), 4);
    }
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
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
                                                                         : value;
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
