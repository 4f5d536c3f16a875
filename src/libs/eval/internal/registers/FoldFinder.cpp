// Forms are told by looking from an instruction back to the writers of its operands, a few steps
// deep. Only registers with exactly one writer count: then what is found holds wherever the
// instruction stands. Ranges are those of real numbers; who uses them adds the rounding.

#include <eval/internal/registers/FoldFinder.h>

#include <eval/internal/registers/LaneOps.h>

#include <cmath>

namespace eval::internal {

FoldFinder::FoldFinder(LinearCode &code)
    : m_code(code)
    , m_writer(code.registerCount(), none)
{
    std::vector<quint32> writes(code.registerCount(), 0);
    for (quint32 i = 0; i < code.code.size(); ++i) {
        code.forEachWrite(code.code[i],
                          [&](Register reg) { m_writer[reg] = ++writes[reg] == 1 ? i : none; });
    }
}

const Instruction *FoldFinder::writerOf(Register reg) const
{
    return m_writer[reg] == none ? nullptr : &m_code.code[m_writer[reg]];
}

std::optional<float> FoldFinder::constantOf(Register reg) const
{
    if (m_code.origins[reg] != LinearCode::Origin::Constant)
        return std::nullopt;
    const float value = lane::f(m_code.bits[reg]);
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// Whether a register is x / period; without a period x itself.
bool FoldFinder::isShare(Register reg, Register x, std::optional<float> period) const
{
    if (!period)
        return reg == x;
    const Instruction *const quotient = writerOf(reg);
    if (!quotient || quotient->a != x)
        return false;
    // A division by a power of two has become a product, which is as exact.
    const bool isDivision = quotient->op == Op::DivF || quotient->op == Op::DivCheckedF;
    const bool isProduct = quotient->op == Op::MulF;
    return (isDivision && constantOf(quotient->b) == period) ||
           (isProduct && constantOf(quotient->b) == 1.0f / *period);
}

/// Of x - whole, where whole is floor(x / period + k) or round(x / period), in periods.
std::optional<FoldRange> FoldFinder::unitRangeOf(Register whole, Register x,
                                                 std::optional<float> period) const
{
    const Instruction *const rounding = writerOf(whole);
    if (!rounding)
        return std::nullopt;
    const bool isRound = rounding->op == Op::RoundF || rounding->op == Op::RoundEvenF;
    if (isRound && isShare(rounding->a, x, period))
        return FoldRange{-0.5f, 0.5f};
    if (rounding->op != Op::FloorF)
        return std::nullopt;
    if (isShare(rounding->a, x, period))
        return FoldRange{0.0f, 1.0f};
    const Instruction *const shifted = writerOf(rounding->a);
    if (!shifted || shifted->op != Op::AddF)
        return std::nullopt;
    for (const auto &[share, shift] :
         {std::pair(shifted->a, shifted->b), std::pair(shifted->b, shifted->a)}) {
        const std::optional<float> k = constantOf(shift);
        if (k && isShare(share, x, period))
            return FoldRange{-*k, 1.0f - *k};
    }
    return std::nullopt;
}

std::optional<FoldRange> FoldFinder::rangeOf(const Instruction &difference) const
{
    if (const auto range = unitRangeOf(difference.b, difference.a, std::nullopt))
        return range;
    const Instruction *const product = writerOf(difference.b);
    if (!product || product->op != Op::MulF)
        return std::nullopt;
    for (const auto &[whole, factor] :
         {std::pair(product->a, product->b), std::pair(product->b, product->a)}) {
        const std::optional<float> period = constantOf(factor);
        if (!period || *period == 0.0f)
            continue;
        if (const auto range = unitRangeOf(whole, difference.a, period)) {
            const float ends[] = {range->low * *period, range->high * *period};
            return FoldRange{std::min(ends[0], ends[1]), std::max(ends[0], ends[1])};
        }
    }
    return std::nullopt;
}

bool FoldFinder::isClampedToUnit(Register reg) const
{
    const Instruction *const clamp = writerOf(reg);
    return clamp && clamp->op == Op::ClampF && constantOf(clamp->b) == 0.0f &&
           constantOf(clamp->c) == 1.0f;
}

/// w of w * share, 1 of the share itself.
std::optional<float> FoldFinder::weightOf(Register weighted, Register share) const
{
    if (weighted == share)
        return 1.0f;
    const Instruction *const product = writerOf(weighted);
    if (!product || product->op != Op::MulF || (product->a != share && product->b != share))
        return std::nullopt;
    return constantOf(product->a == share ? product->b : product->a);
}

std::optional<FoldRange> FoldFinder::rangeOfBlend(const Instruction &product) const
{
    for (const auto &[weighted, rest] :
         {std::pair(product.a, product.b), std::pair(product.b, product.a)}) {
        const Instruction *const difference = writerOf(rest);
        if (!difference || difference->op != Op::SubF || constantOf(difference->a) != 1.0f ||
            !isClampedToUnit(difference->b))
            continue;
        if (const auto weight = weightOf(weighted, difference->b))
            return FoldRange{std::min(0.0f, 0.25f * *weight), std::max(0.0f, 0.25f * *weight)};
    }
    return std::nullopt;
}

} // namespace eval::internal
