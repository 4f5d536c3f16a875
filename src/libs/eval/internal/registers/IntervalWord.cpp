// One register of the interval machine: all operations on what it may hold, dispatched by Op
// like LaneOps.h. Integers that might wrap, and bits that are not known, become everything.

#include <eval/internal/registers/IntervalMachine.h>

#include <eval/internal/registers/IntervalMath.h>
#include <eval/internal/registers/LaneOps.h>

#include <algorithm>

namespace eval::internal {

namespace {

using namespace interval;

constexpr qint64 leastInt = std::numeric_limits<qint32>::min();
constexpr qint64 mostInt = std::numeric_limits<qint32>::max();

IntervalWord truthWord(const Truth &truth)
{
    return IntervalWord::ofInteger(truth.mayBeFalse ? 0 : 1, truth.mayBeTrue ? 1 : 0);
}

Truth negation(const Truth &truth)
{
    return {.mayBeFalse = truth.mayBeTrue, .mayBeTrue = truth.mayBeFalse};
}

IntervalWord integerRange(std::initializer_list<qint64> values)
{
    return IntervalWord::ofInteger(std::min(values), std::max(values));
}

bool isTruth(const IntervalWord &word)
{
    return word.least >= 0 && word.most <= 1;
}

IntervalWord toInteger(const Interval &x)
{
    constexpr float limit = 2147483648.0f;
    if (!(x.low > -limit && x.high < limit) || x.isEmpty())
        return {};
    const auto low = static_cast<qint64>(x.low);
    const auto high = static_cast<qint64>(x.high);
    return x.mayBeNan ? IntervalWord::ofInteger(std::min<qint64>(low, 0), std::max<qint64>(high, 0))
                      : IntervalWord::ofInteger(low, high);
}

IntervalWord unsignedToFloat(const IntervalWord &a)
{
    if (a.least < 0)
        return IntervalWord::ofFloat(Interval::of(0.0f, 4294967296.0f));
    return IntervalWord::ofFloat(
        Interval::of(static_cast<float>(a.least), static_cast<float>(a.most)));
}

/// Bits of truth values keep their order under and, or.
IntervalWord bitwise(Op op, const IntervalWord &a, const IntervalWord &b)
{
    if (a.areBitsKnown() && b.areBitsKnown())
        return IntervalWord::ofBits(applyLane(op, a.bits(), b.bits(), 0));
    const bool areTruths = isTruth(a) && isTruth(b);
    if (areTruths && op == Op::AndI)
        return IntervalWord::ofInteger(a.least & b.least, a.most & b.most);
    if (areTruths && op == Op::OrI)
        return IntervalWord::ofInteger(a.least | b.least, a.most | b.most);
    if (areTruths && op == Op::XorI)
        return IntervalWord::ofInteger(0, 1);
    if (op == Op::AndI && a.least >= 0 && b.least >= 0)
        return IntervalWord::ofInteger(0, std::min(a.most, b.most));
    return {};
}

IntervalWord integerProduct(const IntervalWord &a, const IntervalWord &b)
{
    const qint64 values[] = {qint64(a.least) * b.least, qint64(a.least) * b.most,
                             qint64(a.most) * b.least, qint64(a.most) * b.most};
    return integerRange({values[0], values[1], values[2], values[3]});
}

Truth integersEqual(const IntervalWord &a, const IntervalWord &b)
{
    return {.mayBeFalse = !(a.areBitsKnown() && b.areBitsKnown() && a.least == b.least),
            .mayBeTrue = a.least <= b.most && b.least <= a.most};
}

/// Sums of squares of the same values, in the order in which the machine adds them.
Interval lengthOf(const Interval &a, const Interval &b)
{
    return squareRoot(sum(square(a), square(b)));
}
Interval lengthOf(const Interval &a, const Interval &b, const Interval &c)
{
    return squareRoot(sum(sum(square(a), square(b)), square(c)));
}

/// Operands of other kinds than float, and of several: known when the bits are.
IntervalWord mixedWord(const IntervalWord &a, const IntervalWord &b, quint32 code)
{
    if (a.areBitsKnown() && b.areBitsKnown())
        return IntervalWord::ofBits(lane::mixed(a.bits(), b.bits(), code));
    const BinaryKind kind = MixedCode::unpacked(code).kind;
    const bool isComparison = kind == BinaryKind::Equal || kind == BinaryKind::NotEqual ||
                              kind == BinaryKind::Less || kind == BinaryKind::Greater ||
                              kind == BinaryKind::LessOrEqual || kind == BinaryKind::GreaterOrEqual;
    return isComparison ? IntervalWord::ofInteger(0, 1) : IntervalWord();
}

IntervalWord selected(const IntervalWord &condition, const IntervalWord &yes,
                      const IntervalWord &no)
{
    if (condition.least > 0 || condition.most < 0)
        return yes;
    if (condition.least == 0 && condition.most == 0)
        return no;
    return {.value = hull(yes.value, no.value),
            .least = std::min(yes.least, no.least),
            .most = std::max(yes.most, no.most)};
}

float roundedAwayFromZero(float x)
{
    return std::round(x);
}
float roundedToEven(float x)
{
    return std::nearbyint(x);
}
float radians(float x)
{
    return static_cast<float>(lane::radians(double(x)));
}
float degrees(float x)
{
    return static_cast<float>(lane::degrees(double(x)));
}

Interval floatUnary(Op op, const Interval &x)
{
    switch (op) {
    case Op::SqrtF:
        return squareRoot(x);
    case Op::FloorF:
        return rising(x, &lane::floored);
    case Op::CeilF:
        return rising(x, &lane::raised);
    case Op::FractF:
        return fract(x);
    case Op::SignF:
        return sign(x);
    case Op::TruncF:
        return rising(x, &lane::truncated);
    case Op::RoundF:
        return rising(x, &roundedAwayFromZero);
    case Op::RoundEvenF:
        return rising(x, &roundedToEven);
    case Op::InverseSqrtF:
        return inverseSquareRoot(x);
    case Op::RadiansF:
        return rising(x, &radians);
    case Op::DegreesF:
        return rising(x, &degrees);
    case Op::SinF:
        return sine(x);
    case Op::CosF:
        return cosine(x);
    case Op::TanF:
        return tangent(x);
    case Op::AsinF:
        return risingInDouble(x, &std::asin, -1.0, 1.0);
    case Op::AcosF:
        return arcCosine(x);
    case Op::AtanF:
        return risingInDouble(x, &std::atan);
    case Op::SinhF:
        return risingInDouble(x, &std::sinh);
    case Op::CoshF:
        return hyperbolicCosine(x);
    case Op::TanhF:
        return risingInDouble(x, &std::tanh);
    case Op::AsinhF:
        return risingInDouble(x, &std::asinh);
    case Op::AcoshF:
        return risingInDouble(x, &std::acosh, 1.0);
    case Op::AtanhF:
        return risingInDouble(x, &std::atanh, -1.0, 1.0);
    case Op::ExpF:
        return risingInDouble(x, &std::exp);
    case Op::LogF:
        return risingInDouble(x, &std::log, 0.0);
    case Op::Exp2F:
        return risingInDouble(x, &std::exp2);
    case Op::Log2F:
        return risingInDouble(x, &std::log2, 0.0);
    default:
        return {};
    }
}

Interval floatBinary(Op op, const Interval &a, const Interval &b)
{
    switch (op) {
    case Op::DivF:
        return quotient(a, b, false);
    case Op::DivCheckedF:
        return quotient(a, b, true);
    case Op::RemF:
    case Op::RemOrZeroF:
    case Op::RemCheckedF:
        return remainder(a, b);
    case Op::Atan2F:
        return arcTangent2(a, b);
    case Op::PowF:
        return power(a, b);
    case Op::Length2F:
        return lengthOf(a, b);
    default:
        return {};
    }
}

IntervalWord wordUnary(Op op, const IntervalWord &a)
{
    switch (op) {
    case Op::Move:
        return a;
    case Op::IsNanF:
        return truthWord({.mayBeFalse = !a.value.isEmpty(), .mayBeTrue = a.value.mayBeNan});
    case Op::IsInfF: {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        return truthWord({.mayBeTrue = a.value.low == -infinity || a.value.high == infinity});
    }
    case Op::NegI:
        return IntervalWord::ofInteger(-qint64(a.most), -qint64(a.least));
    case Op::AbsI:
        if (a.least >= 0)
            return IntervalWord::ofInteger(a.least, a.most);
        return IntervalWord::ofInteger(a.most <= 0 ? -qint64(a.most) : 0,
                                       std::max(-qint64(a.least), qint64(a.most)));
    case Op::SignI:
        return IntervalWord::ofInteger((a.least > 0) - (a.least < 0), (a.most > 0) - (a.most < 0));
    case Op::NotI:
        return IntervalWord::ofInteger(~a.most, ~a.least);
    case Op::NotB:
        return isTruth(a) ? IntervalWord::ofInteger(1 - a.most, 1 - a.least) : IntervalWord();
    case Op::IntToF:
        return IntervalWord::ofFloat(
            Interval::of(static_cast<float>(a.least), static_cast<float>(a.most)));
    case Op::UintToF:
        return unsignedToFloat(a);
    case Op::FToInt:
        return toInteger(a.value);
    case Op::FToBool:
        return truthWord(negation(isEqual(a.value, Interval::of(0.0f, 0.0f))));
    case Op::IntToBool:
        return truthWord(negation(integersEqual(a, IntervalWord::ofBits(0))));
    default:
        return IntervalWord::ofFloat(floatUnary(op, a.value));
    }
}

IntervalWord wordBinary(Op op, const IntervalWord &a, const IntervalWord &b)
{
    switch (op) {
    case Op::StepF: {
        const Truth isBelow = isLess(b.value, a.value);
        return IntervalWord::ofFloat(
            Interval::of(isBelow.mayBeTrue ? 0.0f : 1.0f, isBelow.mayBeFalse ? 1.0f : 0.0f));
    }
    case Op::EqF:
        return truthWord(isEqual(a.value, b.value));
    case Op::NeF:
        return truthWord(negation(isEqual(a.value, b.value)));
    case Op::LtF:
        return truthWord(isLess(a.value, b.value));
    case Op::LeF:
        return truthWord(isLessOrEqual(a.value, b.value));
    case Op::EqI:
        return truthWord(integersEqual(a, b));
    case Op::NeI:
        return truthWord(negation(integersEqual(a, b)));
    case Op::LtI:
        return truthWord({.mayBeFalse = a.most >= b.least, .mayBeTrue = a.least < b.most});
    case Op::LeI:
        return truthWord({.mayBeFalse = a.most > b.least, .mayBeTrue = a.least <= b.most});
    case Op::AddI:
        return IntervalWord::ofInteger(qint64(a.least) + b.least, qint64(a.most) + b.most);
    case Op::SubI:
        return IntervalWord::ofInteger(qint64(a.least) - b.most, qint64(a.most) - b.least);
    case Op::MulI:
        return integerProduct(a, b);
    case Op::MinI:
        return IntervalWord::ofInteger(std::min(a.least, b.least), std::min(a.most, b.most));
    case Op::MaxI:
        return IntervalWord::ofInteger(std::max(a.least, b.least), std::max(a.most, b.most));
    case Op::AndI:
    case Op::OrI:
    case Op::XorI:
    case Op::ShlI:
    case Op::ShrI:
        return bitwise(op, a, b);
    default:
        return IntervalWord::ofFloat(floatBinary(op, a.value, b.value));
    }
}

} // namespace

IntervalWord IntervalWord::ofBits(quint32 bits)
{
    const float value = lane::f(bits);
    IntervalWord word{.value = Interval::of(value, value),
                      .least = static_cast<qint32>(bits),
                      .most = static_cast<qint32>(bits)};
    if (value != value)
        word.value = {};
    return word;
}

/// What does not fit wraps around, or is cut: then nothing is known.
IntervalWord IntervalWord::ofInteger(qint64 least, qint64 most)
{
    if (least < leastInt || most > mostInt)
        return {};
    return {.value = {}, .least = static_cast<qint32>(least), .most = static_cast<qint32>(most)};
}

IntervalWord applyInterval(const Instruction &instruction, const IntervalWord &a,
                           const IntervalWord &b, const IntervalWord &c)
{
    // One register in both places: the two are the same value, not just of the same interval.
    const bool isSquare = instruction.a == instruction.b;
    switch (instruction.op) {
    // What most code consists of stands first: one jump each.
    case Op::AddF:
        return IntervalWord::ofFloat(sum(a.value, b.value));
    case Op::MinF:
        return IntervalWord::ofFloat(minimum(a.value, b.value));
    case Op::MaxF:
        return IntervalWord::ofFloat(maximum(a.value, b.value));
    case Op::NegF:
        return IntervalWord::ofFloat(negated(a.value));
    case Op::AbsF:
        return IntervalWord::ofFloat(absolute(a.value));
    case Op::MulF:
        return IntervalWord::ofFloat(isSquare ? square(a.value) : product(a.value, b.value));
    case Op::SubF:
        if (isSquare && !a.value.mayBeNan && a.value.high - a.value.low < lane::f(0x7f800000u))
            return IntervalWord::ofFloat(Interval::of(0.0f, 0.0f));
        return IntervalWord::ofFloat(difference(a.value, b.value));
    case Op::MulAddF:
        return IntervalWord::ofFloat(
            sum(isSquare ? square(a.value) : product(a.value, b.value), c.value));
    case Op::ClampF:
        return IntervalWord::ofFloat(clamp(a.value, b.value, c.value));
    case Op::MixF:
        return IntervalWord::ofFloat(mix(a.value, b.value, c.value));
    case Op::SmoothstepF:
        return IntervalWord::ofFloat(smoothstep(a.value, b.value, c.value));
    case Op::FmaF:
        return IntervalWord::ofFloat(fusedProduct(a.value, b.value, c.value));
    case Op::Length3F:
        return IntervalWord::ofFloat(lengthOf(a.value, b.value, c.value));
    case Op::Select:
        return selected(a, b, c);
    case Op::Mixed:
    case Op::MixedChecked:
        return mixedWord(a, b, instruction.c);
    default:
        return operandCount(instruction.op) == 1 ? wordUnary(instruction.op, a)
                                                 : wordBinary(instruction.op, a, b);
    }
}

} // namespace eval::internal
