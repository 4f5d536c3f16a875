#include <corvane/zirn/PlaceholderFiller.h>

#include <corvane/zirn/TaskPlan.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

constexpr auto unknownName =
    "Unresolved placeholder '${%1}' in argument '%2'. State: no changes. Suggestion: check that a "
    "prior step produces '%1'."_L1;
constexpr auto tooMany =
    "Placeholders in argument '%1' do not end after %2 replacements. State: no changes. "
    "Suggestion: check that no output leads back to its own placeholder."_L1;
constexpr auto tooLong =
    "Argument '%1' grows beyond %2 characters by its placeholders. State: no changes. Suggestion: "
    "pass less text from step to step, or check that no output repeats its own placeholder."_L1;
constexpr auto tooMuch =
    "Argument '%1' brings the arguments of its step beyond %2 characters by their placeholders. "
    "State: no changes. Suggestion: pass less text from step to step."_L1;

/// Where "${" is followed by a name of at least one character.
qsizetype nextOpening(const QString &text, qsizetype from)
{
    qsizetype at = text.indexOf("${"_L1, from);
    while (at >= 0 && at + 2 < text.size() && text.at(at + 2) == u'}')
        at = text.indexOf("${"_L1, at + 3);
    return at;
}

} // namespace

// A search from the start after each replacement would find the same places. In front of the place
// that was filled there is no other: an earlier "${" would have been taken as the opening. Only a
// single "$" there can become one, together with a "{" that was put in.
bool PlaceholderFiller::fill(const QString &argument, QString &text)
{
    int replacements = 0;
    for (qsizetype at = nextOpening(text, 0); at >= 0; at = nextOpening(text, at)) {
        const qsizetype end = text.indexOf(u'}', at);
        if (end < 0)
            break;
        if (!replace(argument, text, at, end) || !staysInLimits(argument, text, ++replacements))
            return false;
        at = std::max<qsizetype>(0, at - 1);
    }
    if (replacements > 0)
        m_filledSize += text.size();
    return true;
}

bool PlaceholderFiller::replace(const QString &argument, QString &text, qsizetype at, qsizetype end)
{
    const QString name = text.mid(at + 2, end - at - 2);
    const auto variable = m_variables.constFind(name);
    if (variable == m_variables.cend()) {
        m_error = QString(unknownName).arg(name, argument);
        return false;
    }
    text.replace(at, end + 1 - at, *variable);
    return true;
}

bool PlaceholderFiller::staysInLimits(const QString &argument, const QString &text,
                                      int replacements)
{
    if (text.size() > TaskPlan::maxArgumentSize)
        m_error = QString(tooLong).arg(argument, QString::number(TaskPlan::maxArgumentSize));
    else if (text.size() > TaskPlan::maxArgumentsSize - m_filledSize)
        m_error = QString(tooMuch).arg(argument, QString::number(TaskPlan::maxArgumentsSize));
    else if (replacements > TaskPlan::maxReplacements)
        m_error = QString(tooMany).arg(argument, QString::number(TaskPlan::maxReplacements));
    return m_error.isEmpty();
}

} // namespace corvane::zirn
