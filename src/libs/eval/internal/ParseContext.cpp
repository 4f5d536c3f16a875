#include <eval/internal/ParseContext.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

// About a gigabyte of nodes; a field of 65,536 primitives with a matrix each has half as many.
constexpr qsizetype maxNodeCount = 4'000'000;

int heightOf(const AstPtr &node)
{
    return node ? node->height : 0;
}

int heightOf(const QList<AstPtr> &nodes)
{
    int height = 0;
    for (const AstPtr &node : nodes)
        height = std::max(height, heightOf(node));
    return height;
}

} // namespace

void ParseContext::error(const Token &token, const QString &message)
{
    if (!m_refused)
        m_diagnostics.add(DiagnosticCategory::Syntax, spanOf(token), message);
}

bool ParseContext::expect(TokenKind kind, QLatin1StringView message)
{
    if (accept(kind))
        return true;
    error(tokens.peek(), message);
    return false;
}

bool ParseContext::accept(TokenKind kind)
{
    if (!tokens.at(kind))
        return false;
    tokens.next();
    return true;
}

bool ParseContext::startsType(const Token &token) const
{
    return token.is(TokenKind::TypeKeyword) ||
           (token.is(TokenKind::Identifier) && !structNames.isEmpty() &&
            structNames.contains(token.text.toString()));
}

void ParseContext::readType(const Token &token, Type &type, QString &structName)
{
    if (token.is(TokenKind::TypeKeyword)) {
        type = typeFromKeyword(token.text).value_or(Type::Float);
        return;
    }
    type = Type::Struct;
    structName = name(token.text);
}

QString ParseContext::name(QStringView text)
{
    QString &known = m_names[text];
    if (known.isNull())
        known = text.toString();
    return known;
}

AstPtr ParseContext::make(AstKind kind, const Token &token)
{
    if (++m_nodeCount > maxNodeCount)
        refuse(spanOf(token), u"source has more than %1 syntax nodes"_s.arg(maxNodeCount));
    AstPtr node = AstPtr::create();
    node->kind = kind;
    node->span = spanOf(token);
    return node;
}

AstPtr ParseContext::close(AstPtr node)
{
    const int below =
        std::max({heightOf(node->left), heightOf(node->right), heightOf(node->condition),
                  heightOf(node->body), heightOf(node->statements), heightOf(node->arguments)});
    node->height = below + 1;
    if (node->height <= maxTreeDepth)
        return node;
    refuse(node->span, u"source is nested more than %1 levels deep"_s.arg(maxTreeDepth));
    return {};
}

ParseContext::Level::Level(ParseContext &context)
    : m_context(context)
    , m_entered(++context.m_level <= maxTreeDepth)
{
    if (!m_entered) {
        context.refuse(spanOf(context.tokens.peek()),
                       u"source is nested more than %1 levels deep"_s.arg(maxTreeDepth));
    }
}

QList<Diagnostic> ParseContext::finish()
{
    return tokens.finish().kept() + m_diagnostics.kept();
}

void ParseContext::refuse(const SourceSpan &span, const QString &message)
{
    if (m_refused)
        return;
    m_diagnostics.add(DiagnosticCategory::Syntax, span, message);
    m_refused = true;
    tokens.stop();
}

} // namespace eval::internal
