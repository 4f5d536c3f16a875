#include <corvane/compile/PromotionExpressions.h>

#include <corvane/expr/ExprCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

/// The variables alone, in a document of their own, so that their evaluation neither walks the
/// items of the scene nor writes into it.
struct PromotionExpressions::Scope
{
    explicit Scope(const Corvane &document)
    {
        variables.setVariables(document.variables());
        variables.setSceneSetting(u"animation"_s, document.sceneSetting(u"animation"_s));
        manager = std::make_unique<expr::ExpressionManager>(&variables);
        manager->evaluateAll();
    }

    /// Instances of one component differ in values, seldom in types: one program serves them all.
    const expr::CompiledExpression &compile(const QString &text, const QVariantMap &values)
    {
        QString key;
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            key += it.key() + u':' + expr::exprTypeName(expr::exprTypeOfValue(*it)) + u'\n';
        key += text;
        const auto known = programs.constFind(key);
        if (known != programs.cend())
            return *known;
        expr::CompileContext context = manager->context();
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            context.variables.insert(it.key(), expr::exprTypeOfValue(*it));
        return *programs.insert(key, expr::ExprCompiler(context).compile(text));
    }

    Corvane variables;
    std::unique_ptr<expr::ExpressionManager> manager;
    QHash<QString, expr::CompiledExpression> programs;
};

PromotionExpressions::PromotionExpressions(const Corvane &document)
    : m_document(document)
{}

PromotionExpressions::~PromotionExpressions() = default;

QVariant PromotionExpressions::evaluate(const QString &text, const QVariantMap &values,
                                        QString &error)
{
    const expr::ExpressionManager &manager = *scope().manager;
    const expr::CompiledExpression compiled = scope().compile(text, values);
    if (!compiled.isValid()) {
        const QString reason = compiled.errors.isEmpty() ? QString() : compiled.errors[0].message;
        error = u"failed to compile: "_s + reason;
        return {};
    }
    expr::Values used;
    for (const QString &name : compiled.dependencies)
        used.insert(name, values.contains(name) ? values.value(name) : manager.value(name));
    QString reason;
    const QVariant result = expr::ExprEvaluator::evaluateViaV2(compiled, used, reason);
    if (!reason.isEmpty())
        error = u"failed to evaluate: "_s + reason;
    return result;
}

PromotionExpressions::Scope &PromotionExpressions::scope()
{
    if (!m_scope)
        m_scope = std::make_unique<Scope>(m_document);
    return *m_scope;
}

} // namespace corvane::model
