#pragma once

#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

// A required and an optional argument, as the tables of tasks write them.

constexpr ParamRow need(QLatin1StringView name, ArgumentKind kind, QStringView description)
{
    return {name, kind, true, description, {}};
}

constexpr ParamRow may(QLatin1StringView name, ArgumentKind kind, QStringView description,
                       QStringView defaultValue = {})
{
    return {name, kind, false, description, defaultValue};
}

} // namespace corvane::zirn
