#pragma once

#include <QString>

namespace corvane::zirn {
class ZirnTaskRegistry;
}

/// What the tasks of a registry do, take and answer, sorted by name, as entries of a manual page.
[[nodiscard]] QString taskChapter(const corvane::zirn::ZirnTaskRegistry &registry);
