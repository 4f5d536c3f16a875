#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/interpreter/LaneMath.h>
#include <eval/internal/registers/Opcode.h>

#include <bit>
#include <cmath>

namespace eval::internal {

/// The kinds of a 32-bit register that arithmetic has to tell apart.
enum class LaneKind : quint32 { Float, Int, Uint, Bool };

/// An operation on registers of different kinds (or on unsigned ones), in one word: computed in
/// double, as scalar arithmetic of the language is, and stored as `result`. Comparisons give a
/// bool.
struct MixedCode
{
    BinaryKind kind = BinaryKind::Add;
    LaneKind left = LaneKind::Float;
    LaneKind right = LaneKind::Float;
    LaneKind result = LaneKind::Float;

    constexpr quint32 packed() const
    {
        return static_cast<quint32>(kind) | static_cast<quint32>(left) << 8 |
               static_cast<quint32>(right) << 10 | static_cast<quint32>(result) << 12;
    }
    static constexpr MixedCode unpacked(quint32 word)
    {
        return {static_cast<BinaryKind>(word & 0xff), static_cast<LaneKind>((word >> 8) & 3),
                static_cast<LaneKind>((word >> 10) & 3), static_cast<LaneKind>((word >> 12) & 3)};
    }
};

namespace lane {

inline float f(quint32 bits)
{
    return std::bit_cast<float>(bits);
}
inline double d(quint32 bits)
{
    return static_cast<double>(f(bits));
}
inline qint32 i(quint32 bits)
{
    return static_cast<qint32>(bits);
}
inline quint32 bits(float value)
{
    return std::bit_cast<quint32>(value);
}
/// Rounds once from double, as Value::setLane does.
inline quint32 bits(double value)
{
    return std::bit_cast<quint32>(static_cast<float>(value));
}
inline quint32 bits(bool value)
{
    return value ? 1u : 0u;
}
inline quint32 cutToInt(double value)
{
    return value > -0x1p63 && value < 0x1p63 ? static_cast<quint32>(static_cast<qint64>(value))
                                             : 0u;
}

inline double toDouble(quint32 word, LaneKind kind)
{
    switch (kind) {
    case LaneKind::Float:
        return d(word);
    case LaneKind::Int:
        return i(word);
    case LaneKind::Uint:
        return word;
    case LaneKind::Bool:
        return word != 0 ? 1.0 : 0.0;
    }
    return 0.0;
}

inline quint32 fromDouble(double value, LaneKind kind)
{
    switch (kind) {
    case LaneKind::Float:
        return bits(value);
    case LaneKind::Int:
    case LaneKind::Uint:
        return cutToInt(value);
    case LaneKind::Bool:
        return bits(value != 0.0);
    }
    return 0;
}

/// A remainder by zero is 0 here; a checked one never comes this far.
inline quint32 mixed(quint32 left, quint32 right, quint32 word)
{
    const MixedCode code = MixedCode::unpacked(word);
    const double a = toDouble(left, code.left);
    const double b = toDouble(right, code.right);
    switch (code.kind) {
    case BinaryKind::Add:
        return fromDouble(a + b, code.result);
    case BinaryKind::Subtract:
        return fromDouble(a - b, code.result);
    case BinaryKind::Multiply:
        return fromDouble(a * b, code.result);
    case BinaryKind::Divide:
        return fromDouble(a / b, code.result);
    case BinaryKind::Remainder:
        return b == 0.0 ? 0u : fromDouble(std::fmod(a, b), code.result);
    case BinaryKind::Equal:
        return bits(a == b);
    case BinaryKind::NotEqual:
        return bits(a != b);
    case BinaryKind::Less:
        return bits(a < b);
    case BinaryKind::Greater:
        return bits(a > b);
    case BinaryKind::LessOrEqual:
        return bits(a <= b);
    case BinaryKind::GreaterOrEqual:
        return bits(a >= b);
    default: // nothing else is ever packed
        return 0;
    }
}

} // namespace lane

/// The result of a pure operation; operands that it does not have are ignored, and with `op` a
/// constant all but one case goes away. Mixed takes its MixedCode as c.
[[gnu::always_inline]] inline quint32 applyLane(Op op, quint32 a, quint32 b, quint32 c)
{
    using namespace lane;
    switch (op) {
    case Op::Move:
        return a;
    case Op::NegF:
        return a ^ 0x80000000u;
    case Op::AbsF:
        return a & 0x7fffffffu;
    case Op::SqrtF:
        return bits(std::sqrt(f(a)));
    case Op::FloorF:
        return bits(floored(f(a)));
    case Op::CeilF:
        return bits(raised(f(a)));
    case Op::FractF:
        return bits(f(a) - floored(f(a)));
    case Op::SignF:
        return bits(sign(f(a)));
    case Op::TruncF:
        return bits(truncated(f(a)));
    case Op::RoundF:
        return bits(std::round(f(a)));
    case Op::RoundEvenF:
        return bits(std::nearbyint(f(a)));
    case Op::InverseSqrtF:
        return bits(inverseSqrt(d(a)));
    case Op::RadiansF:
        return bits(radians(d(a)));
    case Op::DegreesF:
        return bits(degrees(d(a)));
    case Op::SinF:
        return bits(std::sin(d(a)));
    case Op::CosF:
        return bits(std::cos(d(a)));
    case Op::TanF:
        return bits(std::tan(d(a)));
    case Op::AsinF:
        return bits(std::asin(d(a)));
    case Op::AcosF:
        return bits(std::acos(d(a)));
    case Op::AtanF:
        return bits(std::atan(d(a)));
    case Op::SinhF:
        return bits(std::sinh(d(a)));
    case Op::CoshF:
        return bits(std::cosh(d(a)));
    case Op::TanhF:
        return bits(std::tanh(d(a)));
    case Op::AsinhF:
        return bits(std::asinh(d(a)));
    case Op::AcoshF:
        return bits(std::acosh(d(a)));
    case Op::AtanhF:
        return bits(std::atanh(d(a)));
    case Op::ExpF:
        return bits(std::exp(d(a)));
    case Op::LogF:
        return bits(std::log(d(a)));
    case Op::Exp2F:
        return bits(std::exp2(d(a)));
    case Op::Log2F:
        return bits(std::log2(d(a)));
    case Op::IsNanF:
        return bits(f(a) != f(a));
    case Op::IsInfF:
        return bits((a & 0x7fffffffu) == 0x7f800000u);
    case Op::NegI:
        return 0u - a;
    case Op::AbsI:
        return i(a) < 0 ? 0u - a : a;
    case Op::SignI:
        return static_cast<quint32>((i(a) > 0) - (i(a) < 0));
    case Op::NotI:
        return ~a;
    case Op::NotB:
        return a ^ 1u;
    case Op::IntToF:
        return bits(static_cast<float>(i(a)));
    case Op::UintToF:
        return bits(static_cast<float>(a));
    case Op::FToInt:
        return cutToInt(d(a));
    case Op::FToBool:
        return bits(f(a) != 0.0f);
    case Op::IntToBool:
        return bits(a != 0u);
    case Op::AddF:
        return bits(f(a) + f(b));
    case Op::SubF:
        return bits(f(a) - f(b));
    case Op::MulF:
        return bits(f(a) * f(b));
    case Op::DivF:
        return bits(f(a) / f(b));
    case Op::RemF:
        return bits(std::fmod(d(a), d(b)));
    case Op::RemOrZeroF:
        return f(b) == 0.0f ? 0u : bits(std::fmod(d(a), d(b)));
    case Op::MinF:
        return bits(minimum(f(a), f(b)));
    case Op::MaxF:
        return bits(maximum(f(a), f(b)));
    case Op::StepF:
        return bits(step(f(a), f(b)));
    case Op::Atan2F:
        return bits(std::atan2(d(a), d(b)));
    case Op::PowF:
        return bits(std::pow(d(a), d(b)));
    case Op::Length2F:
        return bits(std::sqrt(f(a) * f(a) + f(b) * f(b)));
    case Op::EqF:
        return bits(f(a) == f(b));
    case Op::NeF:
        return bits(f(a) != f(b));
    case Op::LtF:
        return bits(f(a) < f(b));
    case Op::LeF:
        return bits(f(a) <= f(b));
    case Op::EqI:
        return bits(a == b);
    case Op::NeI:
        return bits(a != b);
    case Op::LtI:
        return bits(i(a) < i(b));
    case Op::LeI:
        return bits(i(a) <= i(b));
    case Op::AddI:
        return a + b;
    case Op::SubI:
        return a - b;
    case Op::MulI:
        return cutToInt(static_cast<double>(i(a)) * static_cast<double>(i(b)));
    case Op::MinI:
        return i(b) < i(a) ? b : a;
    case Op::MaxI:
        return i(a) < i(b) ? b : a;
    case Op::AndI:
        return a & b;
    case Op::OrI:
        return a | b;
    case Op::XorI:
        return a ^ b;
    case Op::ShlI:
        return a << (b & 31u);
    case Op::ShrI:
        return static_cast<quint32>(i(a) >> (b & 31u));
    case Op::MulAddF:
        return bits(f(a) * f(b) + f(c));
    case Op::ClampF:
        return bits(clamp(f(a), f(b), f(c)));
    case Op::MixF:
        return bits(mix(d(a), d(b), d(c)));
    case Op::SmoothstepF:
        return bits(smoothstep(d(a), d(b), d(c)));
    case Op::FmaF:
        return bits(std::fma(d(a), d(b), d(c)));
    case Op::Length3F:
        return bits(std::sqrt(f(a) * f(a) + f(b) * f(b) + f(c) * f(c)));
    case Op::Select:
        return a != 0u ? b : c;
    case Op::Mixed:
        return mixed(a, b, c);
    case Op::DivCheckedF:
        return bits(f(a) / f(b));
    case Op::RemCheckedF:
        return bits(std::fmod(d(a), d(b)));
    case Op::MixedChecked:
        return mixed(a, b, c);
    case Op::CheckIndex:
    case Op::Jump:
    case Op::JumpIf:
    case Op::JumpIfNot:
    case Op::LoopGuard:
    case Op::Join:
    case Op::External:
    case Op::Fault:
    case Op::End:
        break;
    }
    return 0;
}

/// Whether a checked operation has a fault to report with these operands.
[[gnu::always_inline]] inline bool faults(Op op, quint32 a, quint32 b, quint32 c)
{
    switch (op) {
    case Op::DivCheckedF:
    case Op::RemCheckedF:
        return (b & 0x7fffffffu) == 0;
    case Op::MixedChecked:
        return lane::toDouble(b, MixedCode::unpacked(c).right) == 0.0;
    case Op::CheckIndex:
        return a >= c;
    default:
        return false;
    }
}

} // namespace eval::internal
