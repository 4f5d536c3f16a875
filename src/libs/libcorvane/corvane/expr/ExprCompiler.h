#pragma once

#include <corvane/expr/CompileContext.h>
#include <corvane/expr/CompiledExpression.h>

#include <QHash>
#include <QString>

#include <functional>

namespace corvane::expr {

/// Compiles the text of one expression against the names of a context.
///
/// The language is the field language in its single-expression form, with names that may have dots.
/// Names go into the program as inputs of neutral names, so that a variable called "main" or
/// "int64_t" harms nothing. Keeps a reference to the context; many expressions may be compiled by
/// one compiler.
class ExprCompiler
{
public:
    explicit ExprCompiler(const CompileContext &context)
        : m_context(context)
    {}

    CompiledExpression compile(const QString &text) const;
    /// The known names that a text reads, each once, without compiling it.
    QStringList dependencies(const QString &text) const;

private:
    using PositionMapper = std::function<int(const ::eval::SourceSpan &)>;

    void buildProgram(CompiledExpression &compiled, const QString &text,
                      const QHash<QString, QString> &inputs,
                      const PositionMapper &positionOf) const;
    void foldConstant(CompiledExpression &compiled) const;

    const CompileContext &m_context;
};

} // namespace corvane::expr
