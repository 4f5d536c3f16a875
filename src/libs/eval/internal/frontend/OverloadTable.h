#pragma once

#include <eval/internal/frontend/TypeRules.h>

#include <QHash>
#include <QSet>

namespace eval::internal {

/// The user functions of one source by name, and the choice among overloads.
class OverloadTable
{
public:
    /// Bounds the work of a call in a source that only consists of overloads.
    static constexpr qsizetype maxOverloads = 256;

    struct Overload
    {
        AstPtr function;
        QList<TypeRef> params;
    };

    /// The outcome of a call: a function, an error, or (of tied overloads) both.
    struct Choice
    {
        const Overload *overload = nullptr;
        QString error;
    };

    /// Replaces an earlier overload of the same parameter types. False, with nothing changed, when
    /// the name has too many.
    bool add(const AstPtr &function);
    bool contains(const QString &name) const { return m_overloads.contains(name); }
    /// The best of the overloads of a known name.
    Choice choose(const QString &name, const QList<TypeRef> &arguments) const;
    QSet<QString> names() const;

private:
    QHash<QString, QList<Overload>> m_overloads;
};

} // namespace eval::internal
