#pragma once

#include <QLoggingCategory>

namespace corvane::model {

/// Trouble, and with QT_LOGGING_RULES="ondrel.model.info=true" the routine lines too.
Q_DECLARE_LOGGING_CATEGORY(lcModel)

} // namespace corvane::model
