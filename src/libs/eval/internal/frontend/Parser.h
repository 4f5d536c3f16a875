#pragma once

#include <eval/internal/frontend/ExpressionParser.h>
#include <eval/internal/frontend/StatementParser.h>

namespace eval::internal {

/// Parses one source: struct declarations and function definitions, then one expression. What
/// follows the expression is ignored. Errors do not unwind: a production answers with what it has,
/// and all are reported.
///
/// Safe for any text: depth and number of nodes are bounded, and the time grows with the length.
class Parser
{
public:
    explicit Parser(QStringView source);

    /// To be called once. The result holds nothing of the source text.
    ParsedSource parse();

private:
    bool parseDeclaration();
    AstPtr parseStruct();
    void parseField(AstNode &declaration);
    void skipField();
    AstPtr parseFunction();
    QList<FunctionParam> parseParameters();
    FunctionParam parseParameter();
    ParamQualifier parseQualifier();

    QStringView m_source;
    ParseContext m_context;
    ExpressionParser m_expressions;
    StatementParser m_statements;
    ParsedSource m_result;
};

} // namespace eval::internal
