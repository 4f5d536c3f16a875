#pragma once

#include <eval/internal/registers/LinearCode.h>

#include <functional>

namespace eval::internal {

/// Gives each chosen register a place, one place to several that are never needed at the same time
/// (linear scan, Poletto and Sarkar 1999; a value that a loop only reads stays until the loop
/// ends).
///
/// @param isChosen  which registers take part
/// @param lasting   registers that are read after the end
/// @param places    set for the chosen registers, from `firstPlace` up
/// @return the first place that is not used
quint32 allocateRegisters(LinearCode &code, const std::function<bool(Register)> &isChosen,
                          const std::vector<Register> &lasting, quint32 firstPlace,
                          std::vector<Register> &places);

} // namespace eval::internal
