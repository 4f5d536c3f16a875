#pragma once

#include <QLoggingCategory>

namespace corvane::ops {

Q_DECLARE_LOGGING_CATEGORY(lcOps)

} // namespace corvane::ops
