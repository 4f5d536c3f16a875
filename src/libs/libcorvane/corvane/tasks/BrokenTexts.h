#pragma once

#include <corvane/expr/CompileContext.h>

#include <QHash>
#include <QSet>
#include <QStringList>

#include <utility>

namespace corvane::zirn {

/// The texts of a scene's expressions, each with the number of its places, and how many of those
/// places hold one that does not compile.
///
/// Each text is compiled once, and again only where the names say that it may turn out otherwise:
/// a new name can only mend a text that holds it, a name of the same type changes nothing. So a
/// plan that makes thousands of variables pays for each what that one changes.
class BrokenTexts
{
public:
    /// Puts the texts of a place in the stead of those that it had.
    void replace(QStringList &had, const QStringList &now);
    void clear();

    /// The names, as a whole, may be others.
    void forgetScope() { m_isScopeStale = true; }
    /// One name is there, of this type. False when it was there with another one: then
    /// forgetScope() is for the caller to say, who may know of more names.
    bool setName(const QString &name, expr::ExprType type);

    /// The type that a text gives to the variable that is derived by it; Unknown where it is
    /// broken, and while the names are not known.
    expr::ExprType typeOf(const QString &text) const;

    /// @param scopeOf  makes the names anew; asked only while there are texts that need them
    template<class ScopeOf>
    int count(const ScopeOf &scopeOf)
    {
        // Not before there is an expression: a scene may have thousands of variables and none.
        if (!m_places.isEmpty() && std::exchange(m_isScopeStale, false))
            renewScope(scopeOf());
        if (check())
            return brokenPlaces();
        renewScope(scopeOf());
        check();
        return brokenPlaces();
    }

private:
    void renewScope(const expr::CompileContext &scope);
    bool check();
    int brokenPlaces() const;

    expr::CompileContext m_scope;
    QHash<QString, int> m_places; ///< by text
    QSet<QString> m_unchecked;
    QSet<QString> m_broken;
    bool m_isScopeStale = true;
};

} // namespace corvane::zirn
