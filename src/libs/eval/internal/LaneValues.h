#pragma once

#include <eval/internal/CodeBuilder.h>

#include <QHash>
#include <QString>
#include <QVarLengthArray>

#include <optional>
#include <vector>

namespace eval::internal {

class StructRegistry;

/// Copied where it could be moved: Qt 6.4 loses an array's own buffer when another is moved onto
/// it.
template<class T>
class ShortList : public QVarLengthArray<T, 4>
{
public:
    using QVarLengthArray<T, 4>::QVarLengthArray;
    ShortList(const ShortList &) = default;
    ShortList &operator=(const ShortList &) = default;
};
using Lanes = ShortList<Register>;

/// A value as the code has it: the type that it has in the walk, and a register for each lane. The
/// lanes of a struct are those of its fields one after the other.
struct LaneValue
{
    Type type = Type::Float;
    QString structName;
    Lanes lanes;
};

/// A struct laid out flat.
struct StructLayout
{
    struct Field
    {
        Type type = Type::Float;
        QString structName;
        int first = 0;
        int count = 0;
    };
    std::vector<Field> fields;
    std::vector<LaneKind> kinds;
};

/// Makes values under another type, and knows which have a register form at all. It also keeps
/// whether the program is given up: what goes on after that makes code that nobody runs.
class LaneValues
{
public:
    LaneValues(CodeBuilder &code, const StructRegistry &structs)
        : m_code(code)
        , m_structs(structs)
    {}

    /// The walk stays; answers something harmless.
    LaneValue giveUp();
    bool hasFailed() const { return m_hasFailed; }
    /// The code ends here with a fault, which the walk will put in words.
    LaneValue faulted();
    LaneValue floatZero();

    /// Whether each lane fits a register: doubles and 64-bit integers do not.
    static bool isLowerable(Type type);
    static LaneKind kindOf(Type type);
    LaneKind kindOf(const LaneValue &value, int lane);
    /// Null, and the program is given up, for a struct that has no layout.
    const StructLayout *layoutOf(const QString &name);
    int laneCountOf(Type type, const QString &structName);
    /// Null, and the program is given up, where there is no such field.
    const StructLayout::Field *fieldOf(Type type, const QString &structName, int index);

    LaneValue zero(Type type, const QString &structName);
    LaneValue boolean(Register reg) const { return {Type::Bool, {}, {reg}}; }
    /// What the walk calls retagged().
    LaneValue retaggedTo(const LaneValue &value, Type type, const QString &structName);
    Register convert(Register reg, LaneKind from, LaneKind to);
    /// The lane as a bool.
    Register truth(const LaneValue &value);
    /// Makes a constant integer a float where that loses nothing; false for other integers.
    bool asExactFloat(Register &reg, LaneKind kind);
    LaneValue selected(Register condition, const LaneValue &yes, const LaneValue &no);
    void moveLanes(const Lanes &to, const Lanes &from);
    /// A number below `limit`, checked where it is not constant; none where it can be no such
    /// number.
    std::optional<Register> indexRegister(const LaneValue &index, int limit);

private:
    CodeBuilder &m_code;
    const StructRegistry &m_structs;
    QHash<QString, StructLayout> m_layouts;
    bool m_hasFailed = false;
};

} // namespace eval::internal
