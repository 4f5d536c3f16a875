#include <corvane/tasks/BrokenTexts.h>

#include <corvane/expr/ExprCompiler.h>

namespace corvane::zirn {

void BrokenTexts::replace(QStringList &had, const QStringList &now)
{
    // The new ones first, so that a text that stays is not compiled again.
    for (const QString &text : now) {
        if (m_places[text]++ == 0)
            m_unchecked.insert(text);
    }
    for (const QString &text : std::as_const(had)) {
        const auto places = m_places.find(text);
        if (--*places > 0)
            continue;
        m_places.erase(places);
        m_unchecked.remove(text);
        m_broken.remove(text);
    }
    had = now;
}

void BrokenTexts::clear()
{
    *this = {};
}

bool BrokenTexts::setName(const QString &name, expr::ExprType type)
{
    if (m_isScopeStale)
        return true;
    if (const auto known = m_scope.boundType(name))
        return *known == type;
    m_scope.variables.insert(name, type);
    for (const QString &text : std::as_const(m_broken)) {
        if (text.contains(name))
            m_unchecked.insert(text);
    }
    return true;
}

void BrokenTexts::renewScope(const expr::CompileContext &scope)
{
    // New names can only mend.
    if (scope.includes(m_scope)) {
        m_unchecked.unite(m_broken);
    } else {
        for (auto text = m_places.keyBegin(); text != m_places.keyEnd(); ++text)
            m_unchecked.insert(*text);
    }
    m_scope = scope;
}

/// False when a text was mended that gives something else than the number which a broken one is
/// taken for: what reads a variable that is derived by it has to see the new type.
bool BrokenTexts::check()
{
    using expr::ExprType;
    const expr::ExprCompiler compiler(m_scope);
    bool areTypesKnown = true;
    for (const QString &text : std::exchange(m_unchecked, {})) {
        const expr::CompiledExpression compiled = compiler.compile(text);
        const bool isNumber =
            compiled.resultType == ExprType::Float || compiled.resultType == ExprType::Int;
        if (!compiled.errors.isEmpty())
            m_broken.insert(text);
        else if (m_broken.remove(text) && !isNumber)
            areTypesKnown = false;
    }
    return areTypesKnown;
}

int BrokenTexts::brokenPlaces() const
{
    int count = 0;
    for (const QString &text : m_broken)
        count += m_places.value(text);
    return count;
}

expr::ExprType BrokenTexts::typeOf(const QString &text) const
{
    const bool isKnown = !m_isScopeStale;
    const auto compiled =
        isKnown ? expr::ExprCompiler(m_scope).compile(text) : expr::CompiledExpression();
    return isKnown && compiled.errors.isEmpty() ? compiled.resultType : expr::ExprType::Unknown;
}

} // namespace corvane::zirn
