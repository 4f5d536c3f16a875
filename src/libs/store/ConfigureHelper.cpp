#include "ConfigureHelper.h"

#include <QDebug>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcConfigure, "ondrel.store.configure")

namespace store {

namespace {

QString word(bool on)
{
    return on ? u"true"_s : u"false"_s;
}

} // namespace

ConfigureHelper::ConfigureHelper(const QString &name, const ConfigureNeeds &needs)
    : m_name(name)
    , m_needs(needs)
{}

ConfigureHelper::~ConfigureHelper()
{
    m_mark = 0;
}

bool ConfigureHelper::configure()
{
    if (!m_configured.exchange(true))
        return true;
    if (!m_needs.multiConfigure) {
        qCWarning(lcConfigure).noquote()
            << u"WARNING: %1 was configured more than once when not set to be multiconfigure."_s
                   .arg(m_name);
        return false;
    }
    if (m_needs.verbose)
        qCInfo(lcConfigure).noquote() << u"NOTE: %1 was multi-configured"_s.arg(m_name);
    return true;
}

bool ConfigureHelper::activate(bool on)
{
    if (!m_needs.needsActivation) {
        qCWarning(lcConfigure).noquote()
            << u"WARNING: %1 had activation changed when not set to need activation."_s.arg(m_name);
        return false;
    }
    if (m_needs.needsConfiguration && !m_configured) {
        qCWarning(lcConfigure).noquote() << u"WARNING: %1 had activation changed without being "
                                            u"configured first when set to need "
                                            "configuration."_s.arg(m_name);
        return false;
    }
    const bool before = m_activated.exchange(on);
    if (m_needs.verbose)
        qCInfo(lcConfigure).noquote()
            << u"NOTE: %1 activation went from %2 to %3"_s.arg(m_name, word(before), word(on));
    return true;
}

bool ConfigureHelper::isConfiguredAsExpected(const char *caller) const
{
    if (!m_needs.needsConfiguration || m_configured)
        return true;
    qCWarning(lcConfigure).noquote() << u"WARNING: %1 is not configured, but %2 was called."_s.arg(
        m_name, QLatin1StringView(caller));
    return false;
}

bool ConfigureHelper::isActivatedAsExpected(const char *caller) const
{
    if (!isConfiguredAsExpected(caller))
        return false;
    if (!m_needs.needsActivation || m_activated)
        return true;
    qCWarning(lcConfigure).noquote() << u"WARNING: %1 is not activated, but %2 was called."_s.arg(
        m_name, QLatin1StringView(caller));
    return false;
}

bool ConfigureHelper::expectConstructed(const char *caller) const
{
    if (m_mark == constructedMark)
        return true;
    qCWarning(lcConfigure).noquote()
        << u"WARNING: %1 was called on an object that is not there."_s.arg(
               QLatin1StringView(caller));
    return false;
}

} // namespace store
