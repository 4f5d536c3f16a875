#pragma once

#include <QStringList>

namespace corvane::registry {

class Definition;

/// What is wrong with a definition that ships with the program, a sentence each; empty when nothing
/// is.
[[nodiscard]] QStringList validateBuiltin(const Definition &definition);

} // namespace corvane::registry
