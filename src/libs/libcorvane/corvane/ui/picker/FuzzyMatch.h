#pragma once

#include <QString>

#include <optional>

namespace corvane::ui {

/// How well a text fits what was typed: all letters of the query in their order, case aside, with
/// gaps allowed. Nothing where they are not there; higher is better. Letters at the beginning of
/// the text or of a word count more, as do letters behind each other, and short texts go before
/// long ones of the same fit.
std::optional<int> fuzzyScore(const QString &query, const QString &text);

} // namespace corvane::ui
