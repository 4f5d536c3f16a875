#include <corvane/zirn/ZirnTaskContext.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvane::zirn {

using Clock = std::chrono::steady_clock;

ZirnTaskContext::ZirnTaskContext(QString planId, ZirnUIDriver *uiDriver)
    : m_planId(std::move(planId))
    , m_uiDriver(uiDriver)
{}

void ZirnTaskContext::setTimeLimit(std::chrono::seconds limit)
{
    m_deadline.reset();
    if (limit.count() > 0)
        m_deadline = Clock::now() + limit;
}

bool ZirnTaskContext::isCancelled() const
{
    return m_cancelled.load() || (m_deadline && Clock::now() >= *m_deadline);
}

void ZirnTaskContext::requestCancel()
{
    if (!m_cancelled.exchange(true))
        QMetaObject::invokeMethod(this, &ZirnTaskContext::cancellationRequested);
}

void ZirnTaskContext::reportProgress(float fraction, const QString &text)
{
    const float known = std::isnan(fraction) ? 0.0f : std::clamp(fraction, 0.0f, 1.0f);
    emit progressReported(known, text);
}

} // namespace corvane::zirn
