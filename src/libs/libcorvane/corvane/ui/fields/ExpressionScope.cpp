#include <corvane/ui/fields/ExpressionScope.h>

#include <corvane/expr/ExprCompiler.h>
#include <corvane/expr/ExprEvaluator.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/ui/fields/FunctionTable.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using expr::CompileContext;
using expr::ExprType;
using Kind = CompletionEntry::Kind;

/// The names of a scene without any.
const CompileContext &emptyContext()
{
    static const CompileContext context = expr::buildVariableContext(model::Corvane());
    return context;
}

expr::Values valuesOf(const expr::CompiledExpression &compiled,
                      const expr::ExpressionManager *manager)
{
    expr::Values values;
    expr::bindMathConstants(values);
    for (const expr::ExprBinding &binding : compiled.bindings) {
        const QVariant value = manager ? manager->value(binding.name) : QVariant();
        if (value.isValid())
            values.insert(binding.name, value);
    }
    return values;
}

/// Whole numbers, that are neither part of a name nor of another number, with a fraction.
QString withFractions(QString text)
{
    static const QRegularExpression whole(u"(?<![\\w.])(\\d+)(?![\\w.])"_s);
    return text.replace(whole, u"\\1.0"_s);
}

bool isNumber(ExprType type)
{
    return type == ExprType::Float || type == ExprType::Int;
}

/// Collects entries that fit a prefix: those that begin with it, then those that hold it.
class Finder
{
public:
    explicit Finder(const QString &prefix)
        : m_prefix(prefix)
    {}

    void offer(const QString &text, const QString &detail, Kind kind)
    {
        if (text.startsWith(m_prefix, Qt::CaseInsensitive))
            m_beginning.append({text, detail, kind});
        else if (text.contains(m_prefix, Qt::CaseInsensitive))
            m_holding.append({text, detail, kind});
    }
    QList<CompletionEntry> found(int most) const { return (m_beginning + m_holding).mid(0, most); }

private:
    QString m_prefix;
    QList<CompletionEntry> m_beginning;
    QList<CompletionEntry> m_holding;
};

/// A name that is no plain identifier is written in quotes.
QString written(const QString &name)
{
    return expr::ExpressionManager::needsQuoting(name) ? u'"' + name + u'"' : name;
}

void offerParameters(Finder &finder, const CompileContext &context, const QString &prefix)
{
    // A scene has thousands: those of an item are offered once its name is begun.
    if (prefix.isEmpty())
        return;
    for (auto it = context.instances.cbegin(); it != context.instances.cend(); ++it) {
        if (!it.key().startsWith(prefix.section(u'.', 0, 0), Qt::CaseInsensitive))
            continue;
        for (auto param = it->cbegin(); param != it->cend(); ++param)
            finder.offer(written(it.key()) + u'.' + param.key(),
                         exprTypeName(expr::typeOfParameter(*param)), Kind::Parameter);
    }
}

} // namespace

void ExpressionScope::setManager(expr::ExpressionManager *manager)
{
    m_manager = manager;
}

Computed ExpressionScope::compute(const QString &text) const
{
    const auto compiled =
        m_manager ? m_manager->compile(text) : expr::ExprCompiler(emptyContext()).compile(text);
    Computed computed{.type = compiled.resultType};
    if (!compiled.errors.isEmpty()) {
        computed.error = compiled.errors.first().message;
        computed.position = compiled.errors.first().position;
        return computed;
    }
    computed.value =
        expr::ExprEvaluator::evaluateViaV2(compiled, valuesOf(compiled, m_manager), computed.error);
    if (computed.isOk() && !computed.value.isValid())
        computed.error = tr("The expression gives no value");
    return computed;
}

Computed ExpressionScope::computeNumber(const QString &text) const
{
    bool isPlain = false;
    const double number = text.trimmed().toDouble(&isPlain); // the C locale's
    if (isPlain && std::isfinite(number))
        return {.value = number, .type = ExprType::Float};
    const Computed exact = compute(withFractions(text));
    // Functions that ask for whole numbers, and errors at their place in the text as it was typed.
    return exact.isOk() ? exact : compute(text);
}

QList<CompletionEntry> ExpressionScope::completions(const QString &prefix, int most) const
{
    const CompileContext &context = m_manager ? m_manager->context() : emptyContext();
    Finder finder(prefix);
    for (auto it = context.variables.cbegin(); it != context.variables.cend(); ++it) {
        if (!it.key().startsWith("default."_L1) && !context.builtinNames.contains(it.key()))
            finder.offer(it.key(), exprTypeName(*it), Kind::Variable);
    }
    // "position" and "normal" have no value where a field is edited.
    for (const expr::BuiltinVariable &builtin : expr::builtinVariables()) {
        if (builtin.cpuValue)
            finder.offer(builtin.name, exprTypeName(builtin.type), Kind::Variable);
    }
    offerParameters(finder, context, prefix);
    for (const FunctionRow &row : functionTable())
        finder.offer(row.name, row.arguments, Kind::Function);
    QStringList constants = context.mathConstantNames.values();
    constants.sort();
    for (const QString &name : std::as_const(constants))
        finder.offer(name, QString::number(expr::mathConstants().value(name).toDouble(), 'g', 6),
                     Kind::Constant);
    return finder.found(most);
}

QStringList ExpressionScope::variablesOfType(ExprType type) const
{
    QStringList names;
    if (!m_manager)
        return names;
    const auto &variables = m_manager->context().variables;
    for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
        const bool fits = *it == type || (isNumber(*it) && isNumber(type));
        if (fits && !it.key().startsWith("default."_L1) &&
            !m_manager->context().builtinNames.contains(it.key()))
            names.append(it.key());
    }
    return names;
}

QString nameBefore(const QString &text, int position)
{
    int begin = position;
    while (begin > 0 && (text.at(begin - 1).isLetterOrNumber() || text.at(begin - 1) == u'_' ||
                         text.at(begin - 1) == u'.'))
        --begin;
    // A number is no name.
    while (begin < position && (text.at(begin).isDigit() || text.at(begin) == u'.'))
        ++begin;
    return text.mid(begin, position - begin);
}

} // namespace corvane::ui
