#pragma once

#include <QLatin1StringView>

#include <span>

namespace corvane::ui {

/// A function of the expression language, as a completion shows it.
struct FunctionRow
{
    QLatin1StringView name{};
    QLatin1StringView arguments{};
};

/// By name.
std::span<const FunctionRow> functionTable();

} // namespace corvane::ui
