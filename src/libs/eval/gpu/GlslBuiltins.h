#pragma once

#include <eval/gpu/GlslText.h>
#include <eval/internal/frontend/Builtin.h>

#include <QList>

#include <optional>

namespace eval::gpu {

/// Whether the text of a call has an argument more than once, so that it should be a name.
bool writesArgumentsAgain(const internal::Builtin &builtin);
/// A call of a built-in in GLSL; none where the types have no such form.
std::optional<GlslValue> emitBuiltin(const internal::Builtin &builtin,
                                     const QList<GlslValue> &arguments);
/// Whether the result is 32 packed bits, which travel in the bits of a float.
bool isPacking(const internal::Builtin &builtin);

} // namespace eval::gpu
