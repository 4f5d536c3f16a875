#pragma once

#include <shader/Diagnostic.h>

namespace shader {

/// The error of a text that is refused before it is compiled.
[[nodiscard]] Diagnostic refusal(int line, const QString &message);

} // namespace shader
