#pragma once

#include <QString>
#include <QVariant>

/// Text for a manual page in the man(7) macros of roff.
namespace roff {

/// The text as running text: what roff would take for a request or an escape is written so that it
/// shows as it is, and what is not ASCII by its code, which needs no locale.
[[nodiscard]] QString text(QStringView plain);
/// The same as one argument of a macro, in quotes.
[[nodiscard]] QString argument(QStringView plain);
/// A line of its own, from a capital to a full stop.
[[nodiscard]] QString sentence(QStringView plain);
/// A number or a text as it is, a list of them as "(0, 1, 0)".
[[nodiscard]] QString valueText(const QVariant &value);

} // namespace roff
