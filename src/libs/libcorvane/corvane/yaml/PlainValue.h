#pragma once

#include <QVariant>

namespace corvane::yaml {

/// A value in the terms of the file formats: vectors and string lists as lists, hashes as maps,
/// whole numbers of any width as qlonglong. Anything else as it is.
[[nodiscard]] QVariant plainValue(const QVariant &value);

/// The shortest decimal that is this float, so that 0.1f is written as 0.1.
[[nodiscard]] double decimalOf(float value);

/// True for whole and floating point numbers of any width; a bool is none.
[[nodiscard]] bool isNumber(const QVariant &value);

} // namespace corvane::yaml
