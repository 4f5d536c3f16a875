#include "MethodGate.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcMethodGate, "ondrel.store.gate")

namespace store {

void MethodGate::report(const char *what)
{
    qCWarning(lcMethodGate).noquote().nospace()
        << "ERROR: " << what << " < 0x" << Qt::hex << lowestAddress
        << ", which likely means dangling pointer or nullptr access";
}

} // namespace store
