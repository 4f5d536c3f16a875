#include <eval/internal/Lowering.h>

namespace eval::internal {

namespace {

// Registers are plenty, but each is a lane of its own in every copy: beyond this a struct stays
// with the walk.
constexpr size_t structLaneLimit = 256;

} // namespace

bool Lowering::isLowerable(Type type) const
{
    switch (scalarOf(type)) {
    case Type::Float:
    case Type::Int:
    case Type::Uint:
    case Type::Bool:
        return laneCount(type) > 0;
    default: // doubles and 64-bit integers do not fit a register
        return false;
    }
}

LaneKind Lowering::kindOf(Type type)
{
    switch (scalarOf(type)) {
    case Type::Int:
        return LaneKind::Int;
    case Type::Uint:
        return LaneKind::Uint;
    case Type::Bool:
        return LaneKind::Bool;
    default:
        return LaneKind::Float;
    }
}

LaneKind Lowering::kindOf(const Operand &value, int lane)
{
    if (value.type != Type::Struct)
        return kindOf(value.type);
    const StructLayout *layout = layoutOf(value.structName);
    return layout ? layout->kinds[static_cast<size_t>(lane)] : LaneKind::Float;
}

const Lowering::StructLayout *Lowering::layoutOf(const QString &name)
{
    const auto known = m_layouts.constFind(name);
    if (known != m_layouts.constEnd())
        return &*known;
    const StructDef *definition = m_program.structs.lookup(name);
    // The empty entry stands while the fields are looked at, so that a cycle finds nothing to
    // follow.
    m_layouts.insert(name, {});
    StructLayout layout;
    for (const StructField &field : definition ? definition->fields : QList<StructField>()) {
        const bool isStruct = field.type == Type::Struct;
        const StructLayout *inner = isStruct ? layoutOf(field.structName) : nullptr;
        if (isStruct ? !inner || inner->kinds.empty() : !isLowerable(field.type)) {
            m_failed = true;
            return nullptr;
        }
        const std::vector<LaneKind> kinds =
            inner ? inner->kinds
                  : std::vector<LaneKind>(static_cast<size_t>(laneCount(field.type)),
                                          kindOf(field.type));
        layout.fields.push_back({field.type, field.structName,
                                 static_cast<int>(layout.kinds.size()),
                                 static_cast<int>(kinds.size())});
        layout.kinds.insert(layout.kinds.end(), kinds.begin(), kinds.end());
        if (layout.kinds.size() > structLaneLimit)
            m_failed = true;
    }
    m_failed = m_failed || layout.kinds.empty();
    if (m_failed)
        return nullptr;
    return &*m_layouts.insert(name, layout);
}

int Lowering::laneCountOf(Type type, const QString &structName)
{
    if (type != Type::Struct)
        return laneCount(type);
    const StructLayout *layout = layoutOf(structName);
    return layout ? static_cast<int>(layout->kinds.size()) : 0;
}

Lowering::Operand Lowering::zero(Type type, const QString &structName)
{
    // A void function has a value too; nobody can look at it.
    if (type != Type::Struct && type != Type::Void && !isLowerable(type))
        return giveUp();
    Operand value = {type, structName, {}};
    for (int i = 0; i < laneCountOf(type, structName); ++i)
        value.lanes.append(m_code.constant(0u));
    return value;
}

Register Lowering::convert(Register reg, LaneKind from, LaneKind to)
{
    if (from == to)
        return reg;
    switch (to) {
    case LaneKind::Float:
        return m_code.compute(from == LaneKind::Uint ? Op::UintToF : Op::IntToF, reg);
    case LaneKind::Int:
    case LaneKind::Uint: // bools and integers of the other sign have the right bits already
        return from == LaneKind::Float ? m_code.compute(Op::FToInt, reg) : reg;
    case LaneKind::Bool:
        return m_code.compute(from == LaneKind::Float ? Op::FToBool : Op::IntToBool, reg);
    }
    return reg;
}

Lowering::Operand Lowering::retaggedTo(const Operand &value, Type type, const QString &structName)
{
    if (type == value.type && (type != Type::Struct || value.structName == structName))
        return value;
    if (laneCount(type) == 0 || laneCount(value.type) == 0)
        return zero(type, structName);
    if (!isLowerable(type))
        return giveUp();
    Operand result = {type, {}, {}};
    const int rows = matrixRows(type);
    for (int i = 0; i < laneCount(type); ++i) {
        const bool spread = isScalar(value.type) && !isScalar(type);
        const bool onDiagonal = rows == 0 || i / rows == i % rows;
        if (spread ? onDiagonal : i < value.lanes.size())
            result.lanes.append(
                convert(value.lanes[spread ? 0 : i], kindOf(value.type), kindOf(type)));
        else
            result.lanes.append(m_code.constant(0u));
    }
    return result;
}

Register Lowering::truth(const Operand &value)
{
    // What has no lanes reads as zero.
    if (laneCount(value.type) == 0)
        return m_code.constant(0u);
    return convert(value.lanes[0], kindOf(value.type), LaneKind::Bool);
}

Lowering::Operand Lowering::boolean(Register reg) const
{
    return {Type::Bool, {}, {reg}};
}

Lowering::Operand Lowering::selected(Register condition, const Operand &yes, const Operand &no)
{
    if (yes.type != no.type || yes.structName != no.structName)
        return giveUp();
    Operand result = yes;
    for (qsizetype i = 0; i < yes.lanes.size(); ++i)
        result.lanes[i] = m_code.compute(Op::Select, condition, yes.lanes[i], no.lanes[i]);
    return result;
}

} // namespace eval::internal
