#include <corvane/zirn/FailureText.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QString sentence(const QString &part)
{
    return part.endsWith(u'.') || part.endsWith(u'?') ? part : part + u'.';
}

} // namespace

QString failureText(const Failure &failure)
{
    const QString text = u"Failed to %1: %2 State: %3"_s.arg(
        failure.attempt, sentence(failure.cause), sentence(failure.state));
    if (failure.suggestion.isEmpty())
        return text;
    return text + u" Suggestion: "_s + sentence(failure.suggestion);
}

ZirnTaskResult failed(const QString &attempt, const QString &cause, const QString &suggestion)
{
    return ZirnTaskResult::failed(
        failureText({.attempt = attempt, .cause = cause, .suggestion = suggestion}));
}

QString shortened(const QString &text)
{
    constexpr qsizetype most = 200;
    return text.size() <= most ? text : text.first(most) + u"..."_s;
}

} // namespace corvane::zirn
