#include <corvane/expr/ExprCompiler.h>

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/expr/ExprEvaluator.h>
#include <corvane/expr/NameScanner.h>

#include <eval/Graph.h>

#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

constexpr qsizetype maxLength = 65536;
constexpr auto inputPrefix = "corvane_in"_L1;

/// The text that the field language compiles, and the way back from its places to those of the
/// source.
class Rewriting
{
public:
    explicit Rewriting(const QString &source)
        : m_source(source)
    {}

    void replace(qsizetype begin, qsizetype end, const QString &by)
    {
        m_text += QStringView(m_source).mid(m_copied, begin - m_copied);
        m_places.append({m_text.size(), begin});
        m_text += by;
        m_places.append({m_text.size(), end});
        m_copied = end;
    }

    QString finish()
    {
        m_text += QStringView(m_source).mid(m_copied);
        m_copied = m_source.size();
        // On a line of its own, so that a comment at the end of the source does not hide it.
        return m_text += "\n)"_L1;
    }

    int sourcePosition(const eval::SourceSpan &span) const
    {
        qsizetype at = 0;
        for (int line = 1; line < span.line && at >= 0; ++line)
            at = m_text.indexOf(u'\n', at) + 1;
        at += span.column - 1;
        const auto after = std::upper_bound(
            m_places.cbegin(), m_places.cend(), at,
            [](qsizetype place, const Place &other) { return place < other.text; });
        const Place from = after == m_places.cbegin() ? Place{} : *std::prev(after);
        return int(std::clamp<qsizetype>(from.source + at - from.text, 0, m_source.size()));
    }

private:
    struct Place
    {
        qsizetype text = 0;
        qsizetype source = 0;
    };

    const QString &m_source;
    QString m_text = u"("_s;
    QList<Place> m_places{{1, 0}};
    qsizetype m_copied = 0;
};

/// A reference of the text, as the context knows it.
struct ResolvedName
{
    QString name; ///< empty when unknown
    qsizetype parts = 0;
};

ResolvedName resolve(const NameReference &reference, const CompileContext &context)
{
    const qsizetype first = reference.isDefaultScoped() ? 1 : 0;
    for (qsizetype count = reference.parts.size(); count > first; --count) {
        const QString path = reference.parts.mid(first, count - first).join(u'.');
        if (context.isKnown(path))
            return {path, count};
    }
    return {};
}

/// The name as an error tells it: the whole of what hangs below a scope, else the head alone.
QString unknownName(const NameReference &reference, const CompileContext &context)
{
    const bool isScoped = reference.parts.size() > 1 && context.isScope(reference.parts.at(0));
    return reference.path(isScoped ? 2 : 1);
}

} // namespace

QStringList ExprCompiler::dependencies(const QString &text) const
{
    QStringList names;
    if (text.size() > maxLength)
        return names;
    const QList<NameReference> references = scanNames(text);
    for (const NameReference &reference : references) {
        const QString name = resolve(reference, m_context).name;
        if (!name.isEmpty())
            names.append(name);
    }
    names.removeDuplicates();
    return names;
}

CompiledExpression ExprCompiler::compile(const QString &text) const
{
    CompiledExpression compiled;
    compiled.source = text;
    if (text.size() > maxLength) {
        compiled.errors.append({u"Expression is longer than %1 characters"_s.arg(maxLength), 0});
        return compiled;
    }

    Rewriting rewriting(text);
    QHash<QString, QString> inputs;
    QStringList unknown;
    int firstUnknown = 0;
    const QList<NameReference> references = scanNames(text);
    for (const NameReference &reference : references) {
        const ResolvedName resolved = resolve(reference, m_context);
        if (resolved.name.isEmpty()) {
            if (reference.isQuoted && reference.parts.size() == 1)
                continue; // a text, not a name
            if (unknown.isEmpty())
                firstUnknown = int(reference.position);
            unknown.append(unknownName(reference, m_context));
            continue;
        }
        QString &input = inputs[resolved.name];
        if (input.isEmpty()) {
            input = inputPrefix + QString::number(inputs.size() - 1);
            compiled.dependencies.append(resolved.name);
        }
        rewriting.replace(reference.position, reference.ends.at(resolved.parts - 1), input);
    }
    if (!unknown.isEmpty()) {
        unknown.removeDuplicates();
        compiled.errors.append({u"Unknown name: %1"_s.arg(unknown.join(u", "_s)), firstUnknown});
        return compiled;
    }
    const QString rewritten = rewriting.finish();
    const auto positionOf = [&rewriting](const eval::SourceSpan &span) {
        return rewriting.sourcePosition(span);
    };
    buildProgram(compiled, rewritten, inputs, positionOf);
    foldConstant(compiled);
    return compiled;
}

void ExprCompiler::buildProgram(CompiledExpression &compiled, const QString &text,
                                const QHash<QString, QString> &inputs,
                                const PositionMapper &positionOf) const
{
    eval::Graph graph;
    for (const QString &name : std::as_const(compiled.dependencies)) {
        const ExprType type = m_context.typeOf(name);
        const auto handle = graph.declareInput(inputs.value(name), slotType(type));
        compiled.bindings.append({name, type, handle});
    }
    compiled.result = graph.declareOutput(u"corvane_result"_s, text);
    auto program = graph.compile(eval::Backend::Interpreted);
    if (!program) {
        for (const eval::Diagnostic &diagnostic : program.diagnostics())
            compiled.errors.append({diagnostic.message, positionOf(diagnostic.span)});
        return;
    }
    compiled.program = QSharedPointer<eval::Program>::create(program.value());
    compiled.resultType = exprTypeOfSlot(program.value().slotType(compiled.result));
}

void ExprCompiler::foldConstant(CompiledExpression &compiled) const
{
    const auto isConstant = [](const QString &name) { return mathConstants().contains(name); };
    if (!compiled.isValid() ||
        !std::all_of(compiled.dependencies.cbegin(), compiled.dependencies.cend(), isConstant))
        return;
    QString error; // a fault shows again, and is told, when the expression is evaluated
    compiled.constantValue = ExprEvaluator::evaluateViaV2(compiled, mathConstants(), error);
}

} // namespace corvane::expr
