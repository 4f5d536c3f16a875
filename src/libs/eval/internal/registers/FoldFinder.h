#pragma once

#include <eval/internal/registers/LinearCode.h>

#include <optional>

namespace eval::internal {

/// Knows coordinates that code folds into one period: x - floor(x), x - c * floor(x / c + k) and
/// the same with round, with c and k constant. Such a difference stays within a period however far
/// out x is, which nobody can tell from the intervals of its two sides.
class FoldFinder
{
public:
    explicit FoldFinder(LinearCode &code);

    /// The range of the difference, of real numbers; none when it has not this form.
    std::optional<FoldRange> rangeOf(const Instruction &difference) const;
    /// The same of a product w * h * (1 - h) with w constant and h clamped to 0..1: what smooth
    /// operators take off. It is never more than a quarter of w.
    std::optional<FoldRange> rangeOfBlend(const Instruction &product) const;

private:
    const Instruction *writerOf(Register reg) const;
    std::optional<float> constantOf(Register reg) const;
    std::optional<FoldRange> unitRangeOf(Register whole, Register x,
                                         std::optional<float> period) const;
    bool isClampedToUnit(Register reg) const;
    std::optional<float> weightOf(Register weighted, Register share) const;
    bool isShare(Register reg, Register x, std::optional<float> period) const;

    const LinearCode &m_code;
    std::vector<quint32> m_writer; ///< by register; `none` when it has not exactly one
    static constexpr quint32 none = ~0u;
};

} // namespace eval::internal
