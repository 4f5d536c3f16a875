#include <eval/internal/LaneValues.h>

#include <eval/internal/StructRegistry.h>

namespace eval::internal {

namespace {

// Registers are plenty, but each is a lane of its own in every copy: beyond this a struct stays
// with the walk.
constexpr size_t structLaneLimit = 256;
// Integers up to here are floats without loss, so that mixing one with a float needs no detour
// through double.
constexpr qint32 exactFloatLimit = 1 << 24;

} // namespace

LaneValue LaneValues::giveUp()
{
    m_hasFailed = true;
    return floatZero();
}

LaneValue LaneValues::faulted()
{
    m_code.fault();
    return floatZero();
}

LaneValue LaneValues::floatZero()
{
    return {Type::Float, {}, {m_code.constant(0u)}};
}

bool LaneValues::isLowerable(Type type)
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

LaneKind LaneValues::kindOf(Type type)
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

LaneKind LaneValues::kindOf(const LaneValue &value, int lane)
{
    if (value.type != Type::Struct)
        return kindOf(value.type);
    const StructLayout *layout = layoutOf(value.structName);
    return layout ? layout->kinds[static_cast<size_t>(lane)] : LaneKind::Float;
}

const StructLayout *LaneValues::layoutOf(const QString &name)
{
    const auto known = m_layouts.constFind(name);
    if (known != m_layouts.constEnd())
        return &*known;
    const StructDef *definition = m_structs.lookup(name);
    // The empty entry stands while the fields are looked at, so that a cycle finds nothing to
    // follow.
    m_layouts.insert(name, {});
    StructLayout layout;
    for (const StructField &field : definition ? definition->fields : QList<StructField>()) {
        const bool isStruct = field.type == Type::Struct;
        const StructLayout *inner = isStruct ? layoutOf(field.structName) : nullptr;
        if (isStruct ? !inner || inner->kinds.empty() : !isLowerable(field.type)) {
            m_hasFailed = true;
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
            m_hasFailed = true;
    }
    m_hasFailed = m_hasFailed || layout.kinds.empty();
    if (m_hasFailed)
        return nullptr;
    return &*m_layouts.insert(name, layout);
}

int LaneValues::laneCountOf(Type type, const QString &structName)
{
    if (type != Type::Struct)
        return laneCount(type);
    const StructLayout *layout = layoutOf(structName);
    return layout ? static_cast<int>(layout->kinds.size()) : 0;
}

const StructLayout::Field *LaneValues::fieldOf(Type type, const QString &structName, int index)
{
    const StructLayout *const layout = type == Type::Struct ? layoutOf(structName) : nullptr;
    if (layout && index >= 0 && index < static_cast<int>(layout->fields.size()))
        return &layout->fields[static_cast<size_t>(index)];
    m_hasFailed = true;
    return nullptr;
}

LaneValue LaneValues::zero(Type type, const QString &structName)
{
    // A void function has a value too; nobody can look at it.
    if (type != Type::Struct && type != Type::Void && !isLowerable(type))
        return giveUp();
    LaneValue value = {type, structName, {}};
    for (int i = 0; i < laneCountOf(type, structName); ++i)
        value.lanes.append(m_code.constant(0u));
    return value;
}

Register LaneValues::convert(Register reg, LaneKind from, LaneKind to)
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

LaneValue LaneValues::retaggedTo(const LaneValue &value, Type type, const QString &structName)
{
    if (type == value.type && (type != Type::Struct || value.structName == structName))
        return value;
    if (laneCount(type) == 0 || laneCount(value.type) == 0)
        return zero(type, structName);
    if (!isLowerable(type))
        return giveUp();
    LaneValue result = {type, {}, {}};
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

Register LaneValues::truth(const LaneValue &value)
{
    // What has no lanes reads as zero.
    if (laneCount(value.type) == 0)
        return m_code.constant(0u);
    return convert(value.lanes[0], kindOf(value.type), LaneKind::Bool);
}

LaneValue LaneValues::selected(Register condition, const LaneValue &yes, const LaneValue &no)
{
    if (yes.type != no.type || yes.structName != no.structName)
        return giveUp();
    LaneValue result = yes;
    for (qsizetype i = 0; i < yes.lanes.size(); ++i)
        result.lanes[i] = m_code.compute(Op::Select, condition, yes.lanes[i], no.lanes[i]);
    return result;
}

bool LaneValues::asExactFloat(Register &reg, LaneKind kind)
{
    if (kind == LaneKind::Float)
        return true;
    if (kind != LaneKind::Int || !m_code.isConstant(reg) ||
        std::abs(static_cast<qint64>(static_cast<qint32>(m_code.constantBits(reg)))) >
            exactFloatLimit)
        return false;
    reg = convert(reg, kind, LaneKind::Float);
    return true;
}

void LaneValues::moveLanes(const Lanes &to, const Lanes &from)
{
    CodeBuilder::Moves moves;
    for (qsizetype i = 0; i < std::min(to.size(), from.size()); ++i)
        moves.emplace_back(to[i], from[i]);
    m_code.move(moves);
}

std::optional<Register> LaneValues::indexRegister(const LaneValue &index, int limit)
{
    if (laneCount(index.type) == 0 || kindOf(index.type) == LaneKind::Float) {
        giveUp();
        return std::nullopt;
    }
    const Register reg = index.lanes[0];
    if (m_code.isConstant(reg)) {
        if (m_code.constantBits(reg) >= static_cast<quint32>(limit)) {
            m_code.fault();
            return std::nullopt;
        }
    } else {
        m_code.checkIndex(reg, static_cast<quint32>(limit));
    }
    return reg;
}

} // namespace eval::internal
