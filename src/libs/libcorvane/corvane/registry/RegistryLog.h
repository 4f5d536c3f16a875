#pragma once

#include <QLoggingCategory>

namespace corvane::registry {

Q_DECLARE_LOGGING_CATEGORY(lcRegistry)

} // namespace corvane::registry
