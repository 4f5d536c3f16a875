#pragma once

#include <QString>
#include <QVariant>

#include <memory>

namespace corvane::model {

class Corvane;

/// Evaluates the expressions of promotions: over the variables of a document, and the values that a
/// component was given, which win where they have the same name.
///
/// Derived variables are evaluated here, since the document's may be of before the last change.
class PromotionExpressions
{
public:
    explicit PromotionExpressions(const Corvane &document);
    ~PromotionExpressions();

    /// Invalid, with the reason in `error`: "failed to compile: ..." or "failed to evaluate: ...".
    QVariant evaluate(const QString &text, const QVariantMap &values, QString &error);

private:
    struct Scope;

    Scope &scope();

    const Corvane &m_document;
    std::unique_ptr<Scope> m_scope; ///< made when the first expression needs it
};

} // namespace corvane::model
