#include <corvane/ui/fields/FieldTarget.h>

namespace corvane::ui {

void FieldTarget::beginDrag(const QString &label)
{
    Q_UNUSED(label)
}

QString FieldTarget::makeVariable(const QString &name)
{
    Q_UNUSED(name)
    return tr("This value can't be bound to a variable.");
}

} // namespace corvane::ui
