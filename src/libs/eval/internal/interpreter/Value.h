#pragma once

#include <eval/Type.h>

#include <QList>
#include <QString>
#include <QVariant>

#include <array>

namespace eval::internal {

class StructRegistry;

/// A value of the field language as the walk over the tree handles it: a tag and sixteen cells.
///
/// A lane is a vector component or a matrix entry (column-major), a scalar is one lane. Lane i
/// lives in cell i in the representation of scalarOf(type); cells beyond the last lane are zero.
class Value
{
public:
    static constexpr int cellCount = 16;

    Type type = Type::Float;
    Type elementType = Type::Float; ///< of an array
    std::array<quint64, cellCount> cells{};
    QString text;                    ///< of a string
    QString structName;              ///< of a struct
    QList<Value> fields;             ///< of a struct, in declaration order
    const float *elements = nullptr; ///< of an array: borrowed, packed floats
    qint64 elementCount = 0;
    int elementStride = 1; ///< floats from one element to the next

    /// All lanes zero. A struct has no fields yet: see defaultValue().
    static Value zero(Type type);
    static Value ofFloat(float value);
    static Value ofDouble(double value);
    static Value ofInt(qint32 value);
    static Value ofUint(quint32 value);
    static Value ofBool(bool value);

    /// Reads a lane of any numeric or bool tag; true reads as 1, what is no lane as 0.
    double lane(int index) const;
    float floatLane(int index) const { return static_cast<float>(lane(index)); }
    /// Exact for integers of all widths; a fraction is cut off.
    qint64 integerLane(int index) const;
    /// Stores in the representation of the tag: rounded to float, cut to an integer (wrapping, 0
    /// for what has no integer), or "not zero" for bool.
    void setLane(int index, double value);
    void setIntegerLane(int index, qint64 value);

    float toFloat() const { return floatLane(0); }
    double toDouble() const { return lane(0); }
    qint32 toInt() const { return static_cast<qint32>(integerLane(0)); }
    bool toBool() const { return lane(0) != 0.0; }
};

/// The 64-bit integer of a floating value: cut towards zero, 0 where there is none (NaN, beyond
/// 2^63).
qint64 integerFromDouble(double value);

/// The default of a declared type: zero in every lane; a struct's fields by their own types.
Value defaultValue(Type type, const QString &structName, const StructRegistry &structs);

/// The value under another tag. Lanes are converted one by one and missing ones are zero; a single
/// scalar fills a vector and the diagonal of a matrix. Between a struct, an array or a string and
/// something else nothing can be carried over: that gives the default.
Value retagged(const Value &value, Type type, const QString &structName,
               const StructRegistry &structs);
/// The same for types with lanes only.
Value retagged(const Value &value, Type type);

/// Reads a number, bool, text, QVector2D to 4D, QColor-free list of lanes, QMatrix4x4, or for a
/// struct a map by field name or a list in field order. What cannot be read is the default of the
/// type.
Value qvariantToValue(const QVariant &variant, Type type, const QString &structName,
                      const StructRegistry &structs);
/// Scalars as themselves, float vectors as QVector2D to 4D, mat4 as QMatrix4x4, other lanes as a
/// list of numbers (column-major), a struct as a list of its fields.
QVariant valueToQVariant(const Value &value);

} // namespace eval::internal
