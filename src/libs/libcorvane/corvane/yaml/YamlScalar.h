#pragma once

#include <QString>
#include <QVariant>

#include <optional>

namespace corvane::yaml {

enum class ScalarPlace;

/// A cheap refusal of what, without white space around it, no conversion to a number takes: most
/// words and ids.
[[nodiscard]] bool mayBeNumber(QStringView text);

/// True when the writer puts the value in text form on several lines.
[[nodiscard]] bool isMultilineString(const QVariant &value);

/// The text of a plain value that is neither map nor list: "null", "true", "3.0", a bare or quoted
/// string.
[[nodiscard]] QString usualScalarText(const QVariant &value);

/// A text of the value that reads back the same where it stands; none when only a block does.
[[nodiscard]] std::optional<QString> losslessScalarText(const QVariant &value, ScalarPlace place);

} // namespace corvane::yaml
