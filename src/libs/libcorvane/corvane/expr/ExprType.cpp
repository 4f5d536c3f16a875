#include <corvane/expr/ExprType.h>

#include <corvane/model/PlainValue.h>

#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

struct TypeRow
{
    QLatin1StringView name;
    eval::Type slot;
};

constexpr std::array<TypeRow, 8> typeTable{{
    {"float"_L1, eval::Type::Float},
    {"int"_L1, eval::Type::Int},
    {"bool"_L1, eval::Type::Bool},
    {"vec2"_L1, eval::Type::Vec2},
    {"vec3"_L1, eval::Type::Vec3},
    {"vec4"_L1, eval::Type::Vec4},
    {"string"_L1, eval::Type::String},
    {"unknown"_L1, eval::Type::Void},
}};
static_assert(typeTable.size() == std::size_t(ExprType::Unknown) + 1);

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

ExprType typeOfList(const QVariantList &list)
{
    if (list.size() < 2 || list.size() > 4 || !std::all_of(list.cbegin(), list.cend(), isNumber))
        return ExprType::String;
    return ExprType(int(ExprType::Vec2) + int(list.size()) - 2);
}

} // namespace

QString exprTypeName(ExprType type)
{
    return typeTable.at(std::size_t(type)).name;
}

ExprType exprTypeFromName(const QString &name)
{
    if (name == "number"_L1)
        return ExprType::Float;
    if (name == "boolean"_L1)
        return ExprType::Bool;
    if (name == "vector"_L1)
        return ExprType::Vec3;
    for (std::size_t i = 0; i < typeTable.size(); ++i) {
        if (typeTable[i].name == name)
            return ExprType(i);
    }
    return ExprType::Unknown;
}

ExprType exprTypeOfValue(const QVariant &value)
{
    if (!value.isValid())
        return ExprType::Unknown;
    if (isNumber(value))
        return ExprType::Float;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return ExprType::Bool;
    case QMetaType::QVector2D:
        return ExprType::Vec2;
    case QMetaType::QVector3D:
        return ExprType::Vec3;
    case QMetaType::QVector4D:
    case QMetaType::QColor:
        return ExprType::Vec4;
    case QMetaType::QVariantList:
        return typeOfList(value.toList());
    default:
        return ExprType::String;
    }
}

eval::Type slotType(ExprType type)
{
    return typeTable.at(std::size_t(type)).slot;
}

ExprType exprTypeOfSlot(eval::Type type)
{
    for (std::size_t i = 0; i < typeTable.size(); ++i) {
        if (typeTable[i].slot == type)
            return ExprType(i);
    }
    if (type == eval::Type::Double)
        return ExprType::Float;
    return eval::isScalar(type) && eval::isIntegerLike(type) ? ExprType::Int : ExprType::Unknown;
}

QVariant slotValue(const QVariant &value, ExprType type)
{
    switch (type) {
    case ExprType::Float:
        return value.toFloat();
    case ExprType::Int:
        return value.toInt();
    case ExprType::Bool:
        return value.toBool();
    case ExprType::Vec2:
        if (const auto v = model::readFloats<2>(value))
            return QVector2D((*v)[0], (*v)[1]);
        return QVector2D();
    case ExprType::Vec3:
        if (const auto v = model::readFloats<3>(value))
            return QVector3D((*v)[0], (*v)[1], (*v)[2]);
        return QVector3D();
    case ExprType::Vec4:
        if (const auto v = model::readFloats<4>(value))
            return QVector4D((*v)[0], (*v)[1], (*v)[2], (*v)[3]);
        return QVector4D();
    case ExprType::String:
        return value.toString();
    case ExprType::Unknown:
        break;
    }
    return {};
}

} // namespace corvane::expr
