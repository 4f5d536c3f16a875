#include <corvane/shader/DefinitionCodeMangler.h>

#include <corvane/registry/Definition.h>

#include <glsl/Lexer.h>
#include <glsl/Words.h>

#include <QList>

// One pass splits the text into words and marks, one finds what it declares, one writes it out
// again.
//
// Two words in a row are a declaration in this language ("float x", "Shape s"), unless the first
// one is a keyword, which says something else; so no list of types is needed, and a type keyword
// used as a name is seen for what it is.

namespace corvane::shader {

using namespace Qt::StringLiterals;
using glsl::TokenKind;

namespace {

struct Token : glsl::Token
{
    bool declaresField = false; ///< the name of a struct's field, where it is declared
};

/// Words that steer or begin a declaration; to rename one could only move the error that its use as
/// a name is.
bool isStatementWord(QStringView word)
{
    return glsl::rolesOf(word).testAnyFlags(glsl::WordRole::Nests | glsl::WordRole::Jumps |
                                            glsl::WordRole::Declares);
}

bool isSwizzle(QStringView word)
{
    if (word.size() > 4)
        return false;
    const auto drawnFrom = [word](QStringView letters) {
        return std::ranges::all_of(word, [letters](QChar c) { return letters.contains(c); });
    };
    return drawnFrom(u"xyzw") || drawnFrom(u"rgba") || drawnFrom(u"stpq");
}

QList<Token> tokensOf(QStringView code)
{
    QList<Token> tokens;
    glsl::Lexer lexer(code, glsl::shaderText);
    for (glsl::Token token = lexer.next(); !token.is(TokenKind::End); token = lexer.next())
        tokens.append({token});
    return tokens;
}

/// What a text declares, by how it is used.
struct Declared
{
    QSet<QStringView> functions; ///< and macros: names before "("
    QSet<QStringView> variables; ///< and macros: names elsewhere
    QSet<QStringView> structs;
    QSet<QStringView> fields; ///< those that can't be taken for a swizzle
};

/// Finds the declarations of a text, and marks the tokens that declare fields.
class DeclarationScan
{
public:
    explicit DeclarationScan(QList<Token> &tokens)
        : m_tokens(tokens)
    {
        for (m_at = 0; m_at < m_tokens.size(); ++m_at)
            visit();
    }

    Declared declared;

private:
    struct Bracket
    {
        bool parameters = false; ///< of a function's declaration
        bool fields = false;     ///< of a struct's body
    };

    const Token *next(qsizetype ahead = 1) const
    {
        return m_at + ahead < m_tokens.size() ? &m_tokens.at(m_at + ahead) : nullptr;
    }
    bool nextIs(TokenKind kind) const { return next() && next()->is(kind); }
    const Token *previous() const { return m_at > 0 ? &m_tokens.at(m_at - 1) : nullptr; }
    bool inParameters() const { return !m_brackets.isEmpty() && m_brackets.last().parameters; }
    bool inFields() const { return !m_brackets.isEmpty() && m_brackets.last().fields; }

    void visit()
    {
        const Token &token = m_tokens.at(m_at);
        if (token.inDirective)
            visitDirective(token);
        else if (token.isWord())
            visitWord(token);
        else if (!token.isNumber())
            visitMark(token.kind);
    }

    void visitDirective(const Token &token)
    {
        if (token.text != u"define" || !next() || !next()->isWord())
            return;
        declared.functions.insert(next()->text);
        declared.variables.insert(next()->text);
    }

    void visitWord(const Token &token)
    {
        const bool expected = std::exchange(m_declaratorExpected, false);
        if (isStatementWord(token.text)) {
            if (token.is(TokenKind::Struct) && next() && next()->isWord())
                m_structAhead = true;
            return;
        }
        const Token *before = previous();
        if (before && before->is(TokenKind::Struct)) {
            declared.structs.insert(token.text);
            return;
        }
        if (expected || (before && declares(*before)))
            declare();
    }

    /// Whether a word after this token is a name that is being declared.
    bool declares(const Token &before) const
    {
        if (before.inDirective)
            return false;
        if (before.isWord())
            return !glsl::rolesOf(before.text);
        return before.is(TokenKind::RightBracket); // an array's type: float[3] values
    }

    void declare()
    {
        Token &token = m_tokens[m_at];
        if (inFields()) {
            token.declaresField = true;
            if (!isSwizzle(token.text))
                declared.fields.insert(token.text);
            m_listDepth = m_brackets.size();
        } else if (nextIs(TokenKind::LeftParen)) {
            declared.functions.insert(token.text);
            m_parametersAhead = true;
        } else {
            declared.variables.insert(token.text);
            if (!inParameters())
                m_listDepth = m_brackets.size();
        }
    }

    void visitMark(TokenKind mark)
    {
        m_declaratorExpected = false;
        if (m_tokens.at(m_at).opens())
            open(mark);
        else if (m_tokens.at(m_at).closes())
            close();
        else if (mark == TokenKind::Semicolon)
            endStatement();
        else if (mark == TokenKind::Comma)
            m_declaratorExpected = m_listDepth == m_brackets.size();
    }

    void open(TokenKind mark)
    {
        const bool structBody = mark == TokenKind::LeftBrace && std::exchange(m_structAhead, false);
        const bool parameters =
            mark == TokenKind::LeftParen && std::exchange(m_parametersAhead, false);
        m_brackets.append({.parameters = parameters, .fields = structBody});
    }

    void close()
    {
        if (m_brackets.isEmpty())
            return;
        const Bracket closed = m_brackets.takeLast();
        if (m_listDepth > m_brackets.size())
            m_listDepth = -1;
        if (closed.fields) { // struct S {...} a, b;
            m_declaratorExpected = true;
            m_listDepth = m_brackets.size();
        }
    }

    void endStatement()
    {
        m_structAhead = false;
        m_listDepth = -1;
    }

    QList<Token> &m_tokens;
    QList<Bracket> m_brackets;
    qsizetype m_at = 0;
    qsizetype m_listDepth = -1; ///< bracket depth at which "," goes on with a list of declarators
    bool m_declaratorExpected = false;
    bool m_parametersAhead = false;
    bool m_structAhead = false;
};

/// Whether the name at a token is one of the text's own.
bool isOwnName(const QList<Token> &tokens, qsizetype at, const Declared &declared)
{
    const Token &token = tokens.at(at);
    const Token *before = at > 0 ? &tokens.at(at - 1) : nullptr;
    const Token *after = at + 1 < tokens.size() ? &tokens.at(at + 1) : nullptr;
    const bool called = after && after->is(TokenKind::LeftParen);
    if (before && before->text == u"#")
        return false;
    if (before && before->is(TokenKind::Dot))
        return !called && declared.fields.contains(token.text);
    if (token.declaresField)
        return declared.fields.contains(token.text);
    if (declared.structs.contains(token.text))
        return true;
    if (called)
        return declared.functions.contains(token.text);
    // A word before another one is a type, even where a variable has the type's name.
    const bool typeOfNext = after && after->isWord() && !token.inDirective;
    return !typeOfNext && declared.variables.contains(token.text);
}

} // namespace

DefinitionCodeMangler::DefinitionCodeMangler(const QString &code, const QString &prefix,
                                             const QSet<QString> &kept)
    : m_prefix(prefix)
{
    QList<Token> tokens = tokensOf(code);
    const Declared declared = DeclarationScan(tokens).declared;
    for (const QStringView function : declared.functions) {
        if (!kept.contains(function.toString()))
            m_functions.insert(function.toString());
    }

    qsizetype copied = 0;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const Token &token = tokens.at(i);
        if (!token.isWord() || !isOwnName(tokens, i, declared))
            continue;
        const QString name = token.text.toString();
        if (kept.contains(name))
            continue;
        const qsizetype start = token.text.data() - QStringView(code).data();
        m_result += QStringView(code).mid(copied, start - copied);
        const QString newName = mangledName(prefix, name);
        m_originalNames.insert(newName, name);
        m_result += newName;
        copied = start + token.text.size();
    }
    m_result += QStringView(code).mid(copied);
}

DefinitionCodeMangler DefinitionCodeMangler::passThrough(const QString &code)
{
    DefinitionCodeMangler mangler;
    mangler.m_result = code;
    return mangler;
}

DefinitionCodeMangler DefinitionCodeMangler::forDefinition(const registry::Definition &definition,
                                                           const QString &prefix)
{
    if (definition.isFromResources())
        return passThrough(definition.shaderCode);
    return DefinitionCodeMangler(definition.shaderCode, prefix);
}

QString DefinitionCodeMangler::functionName(const QString &name) const
{
    return m_functions.contains(name) ? mangledName(m_prefix, name) : name;
}

QString DefinitionCodeMangler::mangledName(const QString &prefix, const QString &name)
{
    // "Z" begins every escape, so that different names stay different.
    QString result = prefix;
    for (const QChar c : name) {
        if (c == u'Z')
            result += "Zz"_L1;
        else if (c == u'_' && result.endsWith(u'_'))
            result += "Zu"_L1; // two underscores in a row are reserved
        else if (c.unicode() < 0x80)
            result += c;
        else
            result += u"Zx%1x"_s.arg(c.unicode(), 0, 16);
    }
    return result;
}

} // namespace corvane::shader
