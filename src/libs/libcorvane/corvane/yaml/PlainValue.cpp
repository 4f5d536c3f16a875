#include <corvane/yaml/PlainValue.h>

#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <charconv>
#include <cmath>

namespace corvane::yaml {

namespace {

template<class Vector>
QVariantList components(const Vector &vector, int count)
{
    QVariantList list;
    for (int i = 0; i < count; ++i)
        list.append(decimalOf(vector[i]));
    return list;
}

QVariantList stringItems(const QStringList &strings)
{
    return {strings.cbegin(), strings.cend()};
}

} // namespace

QVariant plainValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QVector2D:
        return components(value.value<QVector2D>(), 2);
    case QMetaType::QVector3D:
        return components(value.value<QVector3D>(), 3);
    case QMetaType::QVector4D:
        return components(value.value<QVector4D>(), 4);
    case QMetaType::QStringList:
        return stringItems(value.toStringList());
    case QMetaType::QVariantHash:
        return value.toMap();
    case QMetaType::Nullptr: // of JSON
        return {};
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return value.toLongLong();
    default:
        return value;
    }
}

double decimalOf(float value)
{
    if (!std::isfinite(value))
        return double(value);
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    double decimal = 0.0;
    std::from_chars(text, end, decimal);
    return decimal;
}

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

} // namespace corvane::yaml
