#pragma once

#include <corvane/aa/IAntialiasStrategy.h>

#include <memory>

namespace corvane::aa {

/// Makes strategies by their id. Any thread.
namespace AntialiasStrategyFactory {

/// An id with "+" in it joins several: "ssaa-2x+fxaa". An id or a part that is not known is the
/// strategy "none", with a warning in the log.
[[nodiscard]] std::unique_ptr<IAntialiasStrategy> create(const QString &id);

} // namespace AntialiasStrategyFactory

} // namespace corvane::aa
