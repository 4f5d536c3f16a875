#include "Outcome.h"

#include <new>

using namespace Qt::StringLiterals;

namespace concurrency {

Outcome Outcome::ofCurrentException() noexcept
{
    Outcome outcome;
    outcome.m_exception = std::current_exception();
    return outcome;
}

QString Outcome::reason() const
{
    if (!m_exception)
        return {};
    try {
        std::rethrow_exception(m_exception);
    } catch (const std::bad_alloc &) {
        return u"out of memory"_s;
    } catch (const std::exception &exception) {
        return u"unexpected failure: %1"_s.arg(QString::fromUtf8(exception.what()));
    } catch (...) {
        return u"unexpected failure"_s;
    }
}

void Outcome::passOn() const
{
    if (m_exception)
        std::rethrow_exception(m_exception);
}

} // namespace concurrency
