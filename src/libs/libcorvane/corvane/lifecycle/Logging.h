#pragma once

#include <QLoggingCategory>

namespace corvane::lifecycle {

Q_DECLARE_LOGGING_CATEGORY(lcLifecycle)

} // namespace corvane::lifecycle
