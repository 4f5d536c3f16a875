#pragma once

#include <QLoggingCategory>

namespace corvane::ui {

Q_DECLARE_LOGGING_CATEGORY(lcLook)

} // namespace corvane::ui
