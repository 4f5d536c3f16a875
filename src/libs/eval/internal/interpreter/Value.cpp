// Lanes are cells of 64 bits in the representation of their scalar type, so that reading one
// needs its tag and nothing else. Converting goes through double, except between integers, which
// wider ones would not survive.

#include <eval/internal/interpreter/Value.h>

#include <eval/internal/frontend/StructRegistry.h>

#include <QHash>
#include <QMatrix4x4>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <bit>
#include <cmath>

namespace eval::internal {

namespace {

// Doubling structs ("struct B { A x; A y; };") are small in text and huge in fields: their defaults
// share their parts, and what has to write a value out in full stops here.
constexpr int maxStructNesting = 64;
constexpr int maxWrittenFields = 4096;

using DefaultTable = QHash<QString, Value>;

Value defaultStruct(const QString &name, const StructRegistry &structs, DefaultTable &known,
                    int depth)
{
    if (const auto it = known.constFind(name); it != known.constEnd())
        return *it;
    Value value = Value::zero(Type::Struct);
    value.structName = name;
    const StructDef *definition = structs.lookup(name);
    if (definition && depth < maxStructNesting) {
        for (const StructField &field : definition->fields) {
            value.fields.append(field.type == Type::Struct
                                    ? defaultStruct(field.structName, structs, known, depth + 1)
                                    : Value::zero(field.type));
        }
    }
    known.insert(name, value);
    return value;
}

bool hasLanes(Type type)
{
    return laneCount(type) > 0;
}

Value fromScalar(const Value &scalar, Type type)
{
    Value result = Value::zero(type);
    const int rows = matrixRows(type);
    for (int i = 0; i < laneCount(type); ++i) {
        if (rows == 0 || i / rows == i % rows)
            result.setLane(i, scalar.lane(0));
    }
    return result;
}

void setFromList(Value &value, const QVariantList &list)
{
    const qsizetype count = std::min<qsizetype>(laneCount(value.type), list.size());
    for (qsizetype i = 0; i < count; ++i)
        value.setLane(static_cast<int>(i), list[i].toDouble());
}

void setFromVector(Value &value, const QVector4D &vector)
{
    setFromList(value, {vector.x(), vector.y(), vector.z(), vector.w()});
}

void setFromMatrix(Value &value, const QMatrix4x4 &matrix)
{
    const int rows = matrixRows(value.type);
    for (int column = 0; column < matrixColumns(value.type); ++column) {
        for (int row = 0; row < rows; ++row)
            value.setLane(column * rows + row, matrix(row, column));
    }
}

Value structFromVariant(const QVariant &variant, const QString &name, const StructRegistry &structs)
{
    Value value = defaultValue(Type::Struct, name, structs);
    const StructDef *definition = structs.lookup(name);
    if (!definition)
        return value;
    const QVariantMap map = variant.toMap();
    const QVariantList list = variant.toList();
    for (qsizetype i = 0; i < value.fields.size(); ++i) {
        const StructField &field = definition->fields[i];
        const QVariant part = map.isEmpty() ? list.value(i) : map.value(field.name);
        if (part.isValid())
            value.fields[i] = qvariantToValue(part, field.type, field.structName, structs);
    }
    return value;
}

QVariant scalarToVariant(const Value &value, int lane)
{
    switch (scalarOf(value.type)) {
    case Type::Float:
        return value.floatLane(lane);
    case Type::Double:
        return value.lane(lane);
    case Type::Int:
        return static_cast<qint32>(value.integerLane(lane));
    case Type::Uint:
        return static_cast<quint32>(value.integerLane(lane));
    case Type::Int64:
        return static_cast<qlonglong>(value.integerLane(lane));
    case Type::Uint64:
        return static_cast<qulonglong>(value.integerLane(lane));
    case Type::Bool:
        return value.lane(lane) != 0.0;
    default: // no other type is the scalar of anything
        return {};
    }
}

QVariantList lanesToList(const Value &value)
{
    QVariantList list;
    for (int i = 0; i < laneCount(value.type); ++i)
        list.append(scalarToVariant(value, i));
    return list;
}

QVariant structToList(const Value &value, int &budget)
{
    QVariantList list;
    for (const Value &field : value.fields) {
        if (--budget < 0)
            break;
        list.append(field.type == Type::Struct ? structToList(field, budget)
                                               : valueToQVariant(field));
    }
    return list;
}

} // namespace

Value Value::zero(Type type)
{
    Value value;
    value.type = type;
    return value;
}

Value Value::ofFloat(float number)
{
    Value value;
    value.cells[0] = std::bit_cast<quint32>(number);
    return value;
}

Value Value::ofDouble(double number)
{
    Value value = zero(Type::Double);
    value.cells[0] = std::bit_cast<quint64>(number);
    return value;
}

Value Value::ofInt(qint32 number)
{
    Value value = zero(Type::Int);
    value.cells[0] = static_cast<quint32>(number);
    return value;
}

Value Value::ofUint(quint32 number)
{
    Value value = zero(Type::Uint);
    value.cells[0] = number;
    return value;
}

Value Value::ofBool(bool flag)
{
    Value value = zero(Type::Bool);
    value.cells[0] = flag ? 1 : 0;
    return value;
}

double Value::lane(int index) const
{
    const quint64 cell = cells[static_cast<size_t>(index)];
    switch (scalarOf(type)) {
    case Type::Float:
        return static_cast<double>(std::bit_cast<float>(static_cast<quint32>(cell)));
    case Type::Double:
        return std::bit_cast<double>(cell);
    case Type::Int:
        return static_cast<qint32>(static_cast<quint32>(cell));
    case Type::Uint:
        return static_cast<quint32>(cell);
    case Type::Int64:
        return static_cast<double>(static_cast<qint64>(cell));
    case Type::Uint64:
        return static_cast<double>(cell);
    case Type::Bool:
        return cell != 0 ? 1.0 : 0.0;
    default: // strings, structs, arrays
        return 0.0;
    }
}

qint64 Value::integerLane(int index) const
{
    const quint64 cell = cells[static_cast<size_t>(index)];
    switch (scalarOf(type)) {
    case Type::Int:
        return static_cast<qint32>(static_cast<quint32>(cell));
    case Type::Uint:
        return static_cast<quint32>(cell);
    case Type::Int64:
    case Type::Uint64:
        return static_cast<qint64>(cell);
    default:
        return integerFromDouble(lane(index));
    }
}

void Value::setLane(int index, double value)
{
    quint64 &cell = cells[static_cast<size_t>(index)];
    switch (scalarOf(type)) {
    case Type::Float:
        cell = std::bit_cast<quint32>(static_cast<float>(value));
        return;
    case Type::Double:
        cell = std::bit_cast<quint64>(value);
        return;
    case Type::Bool:
        cell = value != 0.0 ? 1 : 0;
        return;
    case Type::Uint64:
        // The upper half of the range has no signed form to go through.
        cell = value >= 0x1p63 && value < 0x1p64 ? static_cast<quint64>(value)
                                                 : static_cast<quint64>(integerFromDouble(value));
        return;
    default:
        setIntegerLane(index, integerFromDouble(value));
    }
}

void Value::setIntegerLane(int index, qint64 value)
{
    quint64 &cell = cells[static_cast<size_t>(index)];
    switch (scalarOf(type)) {
    case Type::Int:
    case Type::Uint:
        cell = static_cast<quint32>(value);
        return;
    case Type::Int64:
    case Type::Uint64:
        cell = static_cast<quint64>(value);
        return;
    case Type::Float:
    case Type::Double:
    case Type::Bool:
        setLane(index, static_cast<double>(value));
        return;
    default:
        return;
    }
}

qint64 integerFromDouble(double value)
{
    if (!(value > -0x1p63 && value < 0x1p63))
        return 0;
    return static_cast<qint64>(value);
}

Value defaultValue(Type type, const QString &structName, const StructRegistry &structs)
{
    if (type != Type::Struct)
        return Value::zero(type);
    DefaultTable known;
    return defaultStruct(structName, structs, known, 0);
}

Value retagged(const Value &value, Type type, const QString &structName,
               const StructRegistry &structs)
{
    if (type == value.type && (type != Type::Struct || value.structName == structName))
        return value;
    if (hasLanes(type) && hasLanes(value.type))
        return retagged(value, type);
    return defaultValue(type, structName, structs);
}

Value retagged(const Value &value, Type type)
{
    if (value.type == type)
        return value;
    if (isScalar(value.type) && !isScalar(type))
        return fromScalar(value, type);
    Value result = Value::zero(type);
    const int count = std::min(laneCount(type), laneCount(value.type));
    // Only between integers is there anything that a double in the middle could lose.
    const bool exact = isIntegerLike(type) && isIntegerLike(value.type);
    for (int i = 0; i < count; ++i) {
        if (exact)
            result.setIntegerLane(i, value.integerLane(i));
        else
            result.setLane(i, value.lane(i));
    }
    return result;
}

Value qvariantToValue(const QVariant &variant, Type type, const QString &structName,
                      const StructRegistry &structs)
{
    if (type == Type::Struct)
        return structFromVariant(variant, structName, structs);
    Value value = Value::zero(type);
    if (type == Type::String) {
        value.text = variant.toString();
        return value;
    }
    if (!hasLanes(type))
        return value;
    switch (variant.metaType().id()) {
    case QMetaType::QVector2D:
        setFromVector(value, QVector4D(variant.value<QVector2D>()));
        return value;
    case QMetaType::QVector3D:
        setFromVector(value, QVector4D(variant.value<QVector3D>()));
        return value;
    case QMetaType::QVector4D:
        setFromVector(value, variant.value<QVector4D>());
        return value;
    case QMetaType::QMatrix4x4:
        setFromMatrix(value, variant.value<QMatrix4x4>());
        return value;
    case QMetaType::QVariantList:
        setFromList(value, variant.toList());
        return value;
    case QMetaType::LongLong:
    case QMetaType::Long:
    case QMetaType::Int:
        value.setIntegerLane(0, variant.toLongLong());
        break;
    case QMetaType::ULongLong:
    case QMetaType::ULong:
    case QMetaType::UInt:
        if (scalarOf(type) == Type::Uint64)
            value.cells[0] = variant.toULongLong();
        else
            value.setIntegerLane(0, static_cast<qint64>(variant.toULongLong()));
        break;
    default:
        value.setLane(0, variant.toDouble());
    }
    return isScalar(type) ? value : fromScalar(retagged(value, scalarOf(type)), type);
}

QVariant valueToQVariant(const Value &value)
{
    switch (value.type) {
    case Type::Vec2:
        return QVector2D(value.floatLane(0), value.floatLane(1));
    case Type::Vec3:
        return QVector3D(value.floatLane(0), value.floatLane(1), value.floatLane(2));
    case Type::Vec4:
        return QVector4D(value.floatLane(0), value.floatLane(1), value.floatLane(2),
                         value.floatLane(3));
    case Type::Mat4: {
        QMatrix4x4 matrix;
        for (int i = 0; i < 16; ++i)
            matrix(i % 4, i / 4) = value.floatLane(i);
        return matrix;
    }
    case Type::String:
        return value.text;
    case Type::Struct: {
        int budget = maxWrittenFields;
        return structToList(value, budget);
    }
    default:
        return isScalar(value.type) ? scalarToVariant(value, 0) : QVariant(lanesToList(value));
    }
}

} // namespace eval::internal
