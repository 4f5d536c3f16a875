#pragma once

#include <corvane/check/SceneSource.h>

namespace corvane::expr {
class ExpressionManager;
struct ExpressionFailure;
} // namespace corvane::expr

namespace corvane::model {
class Corvane;
class Instance;
} // namespace corvane::model

namespace corvane::check {

/// Warns of expressions that give no value, with what is used in its stead, and of those whose
/// value can't be that of their parameter.
class ExpressionCheck
{
public:
    ExpressionCheck(const SceneSource &source, Findings &findings);

    /// Of a scene whose expressions are evaluated.
    void check(const model::Corvane &scene, const expr::ExpressionManager &expressions) const;
    /// Evaluates a copy of the scene, with the variables of the file whatever the scene has.
    /// @param tellsUnread  warns where the scene has other values than its file's variables give
    void checkCopy(const model::Corvane &scene, bool tellsUnread) const;

private:
    struct Place
    {
        QString where;
        KeyPath path;
    };

    Place placeOf(const model::Instance &instance, const QString &parameter) const;
    Place placeOfVariable(const QString &name) const;
    void addFailure(const model::Corvane &scene, const expr::ExpressionManager &expressions,
                    const expr::ExpressionFailure &failure) const;
    void checkValues(const model::Instance &instance) const;
    void checkUnread(const model::Instance &used, const model::Instance &meant) const;

    const SceneSource &m_source;
    Findings &m_findings;
};

} // namespace corvane::check
