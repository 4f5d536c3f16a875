#pragma once

#include <QString>

class QWidget;

namespace toast {

/// Shows a small text in red under a form field, in a row of its own where the field stands in a
/// form or a column, else on top of what is below it. A second text replaces the first; an empty
/// one takes it away. It goes with its field.
void setFieldError(QWidget *field, const QString &text);
void clearFieldError(QWidget *field);
bool hasFieldError(const QWidget *field);

} // namespace toast
