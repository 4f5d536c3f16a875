#pragma once

#include <QString>
#include <private/qshader_p.h>

namespace corvane::shader {

/// Reads a serialised shader, a `.qsb` resource or file. An invalid shader, with a warning, when it
/// can't be opened.
[[nodiscard]] QShader getShader(const QString &path);

} // namespace corvane::shader
