#pragma once

#include <QString>

namespace corvane::registry {
class Registry;
}

/// What the definitions of a registry are and take, by category, as sub-sections of a manual page.
[[nodiscard]] QString definitionChapter(const corvane::registry::Registry &registry);
