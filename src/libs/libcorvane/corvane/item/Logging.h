#pragma once

#include <QLoggingCategory>

namespace corvane::item {

Q_DECLARE_LOGGING_CATEGORY(lcItem)

} // namespace corvane::item
