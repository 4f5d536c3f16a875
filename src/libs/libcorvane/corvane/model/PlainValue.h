#pragma once

#include <QVariant>

#include <array>
#include <optional>

namespace corvane::model {

/// A value as the file format knows it: lists of numbers for vectors and colours, lists and maps of
/// such, and for a float the shortest decimal that reads back as the same float.
QVariant plainForFile(const QVariant &value);

/// A number as a finite float; none for anything else.
std::optional<float> readFloat(const QVariant &value);

/// A list of exactly N finite numbers, or the vector of N components.
template<std::size_t N>
std::optional<std::array<float, N>> readFloats(const QVariant &value);

extern template std::optional<std::array<float, 2>> readFloats<2>(const QVariant &);
extern template std::optional<std::array<float, 3>> readFloats<3>(const QVariant &);
extern template std::optional<std::array<float, 4>> readFloats<4>(const QVariant &);

} // namespace corvane::model
