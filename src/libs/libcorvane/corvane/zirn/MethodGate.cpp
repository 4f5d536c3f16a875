#include <corvane/zirn/MethodGate.h>

#include <QLoggingCategory>

namespace corvane::zirn {

Q_LOGGING_CATEGORY(lcMethodGate, "ondrel.zirn.gate")

namespace {

void warn(const char *who)
{
    qCWarning(lcMethodGate).noquote().nospace()
        << "ERROR: " << who << " < 0x" << Qt::hex << MethodGate::lowestAddress
        << ", which likely means dangling pointer or nullptr access";
}

} // namespace

void MethodGate::report(const void *self, const void *parent)
{
    if (isDubious(self))
        warn("this");
    if (parent && isDubious(parent))
        warn("parent-this");
}

} // namespace corvane::zirn
