#include "ToastRecord.h"

using namespace Qt::StringLiterals;

namespace toast {

namespace {

struct SeverityRow
{
    QLatin1StringView borderColor;
    std::chrono::milliseconds dwell; ///< zero: until dismissed
};

constexpr SeverityRow rows[] = {
    {"#4c8bf5"_L1, std::chrono::milliseconds(5000)}, // Info
    {"#30a46c"_L1, std::chrono::milliseconds(5000)}, // Success
    {"#f5a623"_L1, std::chrono::milliseconds(9000)}, // Warning
    {"#e5484d"_L1, std::chrono::milliseconds(0)},    // Error
};
static_assert(std::size(rows) == int(Severity::Error) + 1);

} // namespace

QLatin1StringView borderColor(Severity severity)
{
    return rows[int(severity)].borderColor;
}

std::optional<std::chrono::milliseconds> dwellTime(Severity severity)
{
    const auto dwell = rows[int(severity)].dwell;
    return dwell.count() > 0 ? std::optional(dwell) : std::nullopt;
}

QString plainText(const QString &title, const QString &body)
{
    if (title.isEmpty() || body.isEmpty())
        return title + body;
    return title + u": "_s + body;
}

} // namespace toast
