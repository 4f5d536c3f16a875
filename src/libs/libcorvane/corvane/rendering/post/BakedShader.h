#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>

namespace corvane::rendering {

/// A shader that was compiled with the program: ":/agx.frag.qsb". Not valid, with a warning in the
/// log, when it cannot be read.
[[nodiscard]] QShader bakedShader(const QString &path);

} // namespace corvane::rendering
