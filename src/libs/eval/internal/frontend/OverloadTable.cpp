// Overloads are chosen by points: two for an exact parameter, one for an allowed conversion, and
// any other disqualifies. A tie is an error but still answers the first, so that checking goes
// on with a type.

#include <eval/internal/frontend/OverloadTable.h>

#include <QStringList>

#include <algorithm>
#include <set>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

using Overload = OverloadTable::Overload;

constexpr int disqualified = -1;

/// 2 for each exact match, 1 for each allowed conversion.
int score(const Overload &overload, const QList<TypeRef> &arguments)
{
    int sum = 0;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == overload.params[i])
            sum += 2;
        else if (isAllowedConversion(arguments[i].type, overload.params[i].type))
            sum += 1;
        else
            return disqualified;
    }
    return sum;
}

QString arityError(const QString &name, qsizetype argumentCount, const QList<Overload> &overloads)
{
    std::set<qsizetype> arities;
    for (const Overload &overload : overloads)
        arities.insert(overload.params.size());
    QStringList texts;
    for (const qsizetype arity : arities)
        texts.append(QString::number(arity));
    return u"'%1' has no overload taking %2 argument(s); available arity: %3"_s.arg(
        name, QString::number(argumentCount), texts.join(u", "_s));
}

QString matchError(const QString &name, const QList<TypeRef> &arguments,
                   const QList<const Overload *> &candidates)
{
    constexpr qsizetype shown = 16;
    QStringList tried;
    for (const Overload *candidate : candidates.first(std::min(shown, candidates.size())))
        tried.append(u"(%1)"_s.arg(displayNames(candidate->params)));
    if (candidates.size() > shown)
        tried.append(u"..."_s);
    return u"no overload of '%1' matches arguments (%2); tried: %3"_s.arg(
        name, displayNames(arguments), tried.join(u", "_s));
}

} // namespace

bool OverloadTable::add(const AstPtr &function)
{
    Overload added{function, {}};
    for (const FunctionParam &param : function->params)
        added.params.append(typeOf(param));
    QList<Overload> &overloads = m_overloads[function->name];
    for (Overload &overload : overloads) {
        if (overload.params == added.params) {
            overload = added;
            return true;
        }
    }
    if (overloads.size() >= maxOverloads)
        return false;
    overloads.append(added);
    return true;
}

OverloadTable::Choice OverloadTable::choose(const QString &name,
                                            const QList<TypeRef> &arguments) const
{
    const auto found = m_overloads.constFind(name);
    if (found == m_overloads.constEnd())
        return {nullptr, u"unknown function '%1'"_s.arg(name)};
    QList<const Overload *> candidates;
    for (const Overload &overload : *found) {
        if (overload.params.size() == arguments.size())
            candidates.append(&overload);
    }
    if (candidates.isEmpty())
        return {nullptr, arityError(name, arguments.size(), *found)};

    int best = disqualified;
    QList<const Overload *> tied;
    for (const Overload *candidate : candidates) {
        const int points = score(*candidate, arguments);
        if (points > best) {
            best = points;
            tied.clear();
        }
        if (points == best && points != disqualified)
            tied.append(candidate);
    }
    if (tied.isEmpty())
        return {nullptr, matchError(name, arguments, candidates)};
    Choice choice{tied.first(), {}};
    if (tied.size() > 1)
        choice.error =
            u"ambiguous call to '%1': %2 overloads tie"_s.arg(name, QString::number(tied.size()));
    return choice;
}

QSet<QString> OverloadTable::names() const
{
    return {m_overloads.keyBegin(), m_overloads.keyEnd()};
}

} // namespace eval::internal
