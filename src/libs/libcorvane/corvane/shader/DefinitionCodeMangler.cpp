#include <corvane/shader/DefinitionCodeMangler.h>

#include <corvane/registry/Definition.h>

#include <QList>

// One pass splits the text into words and marks, one finds what it declares, one writes it out
// again.
//
// Two words in a row are a declaration in this language ("float x", "Shape s"), unless the first
// one is a keyword that says something else; so no list of types is needed, and a type keyword used
// as a name is seen for what it is.

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

struct Token
{
    enum Kind { Word, Number, Mark, Hash };
    Kind kind = Mark;
    QStringView text;
    qsizetype start = 0;
    bool inDirective = false;   ///< on a preprocessor line
    bool declaresField = false; ///< the name of a struct's field, where it is declared
};

/// Words that stand before another word without declaring it.
bool isNoType(QStringView word)
{
    static const QSet<QStringView> words{
        u"break",  u"case",    u"const",     u"continue", u"default", u"discard",
        u"do",     u"else",    u"flat",      u"highp",    u"in",      u"inout",
        u"lowp",   u"mediump", u"out",       u"precise",  u"return",  u"struct",
        u"smooth", u"uniform", u"precision", u"varying",  u"while",   u"invariant"};
    return words.contains(word);
}

/// Words that steer; to rename one could only move the error that its use as a name is.
bool isStatementWord(QStringView word)
{
    static const QSet<QStringView> words{u"break",  u"case",    u"const",  u"continue", u"default",
                                         u"do",     u"discard", u"else",   u"for",      u"if",
                                         u"return", u"struct",  u"switch", u"while"};
    return words.contains(word);
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

bool beginsWord(QChar c)
{
    return c.isLetter() || c == u'_';
}

bool continuesWord(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c.isMark();
}

class Tokens
{
public:
    explicit Tokens(QStringView code)
        : m_code(code)
    {
        while (m_at < m_code.size())
            readNext();
    }

    QList<Token> list;

private:
    QChar peek(qsizetype ahead = 0) const
    {
        return m_at + ahead < m_code.size() ? m_code.at(m_at + ahead) : QChar();
    }

    void readNext()
    {
        const QChar c = peek();
        if (c == u'\n')
            endLine();
        else if (c.isSpace())
            ++m_at;
        else if (c == u'/' && (peek(1) == u'/' || peek(1) == u'*'))
            skipComment();
        else if (beginsWord(c))
            take(Token::Word, wordLength());
        else if (c.isDigit() || (c == u'.' && peek(1).isDigit()))
            take(Token::Number, numberLength());
        else
            readMark(c);
    }

    void readMark(QChar c)
    {
        if (c == u'#' && m_lineIsEmpty)
            m_inDirective = true;
        take(c == u'#' ? Token::Hash : Token::Mark, 1);
    }

    void endLine()
    {
        // A backslash carries a directive on to the next line.
        const bool continued = !list.isEmpty() && list.last().text == u"\\" && !m_lineIsEmpty;
        m_inDirective = m_inDirective && continued;
        m_lineIsEmpty = true;
        ++m_at;
    }

    void skipComment()
    {
        const bool block = peek(1) == u'*';
        const qsizetype end = block ? m_code.indexOf(u"*/", m_at + 2) : m_code.indexOf(u'\n', m_at);
        m_at = end < 0 ? m_code.size() : end + (block ? 2 : 0);
    }

    qsizetype wordLength() const
    {
        qsizetype end = m_at + 1;
        while (end < m_code.size() && continuesWord(m_code.at(end)))
            ++end;
        return end - m_at;
    }

    qsizetype numberLength() const
    {
        qsizetype end = m_at + 1;
        const auto isExponentSign = [&] {
            return (m_code.at(end) == u'+' || m_code.at(end) == u'-') &&
                   m_code.at(end - 1).toLower() == u'e' &&
                   !m_code.mid(m_at, 2).startsWith(u"0x", Qt::CaseInsensitive);
        };
        while (end < m_code.size() &&
               (continuesWord(m_code.at(end)) || m_code.at(end) == u'.' || isExponentSign()))
            ++end;
        return end - m_at;
    }

    void take(Token::Kind kind, qsizetype length)
    {
        list.append({.kind = kind,
                     .text = m_code.mid(m_at, length),
                     .start = m_at,
                     .inDirective = m_inDirective,
                     .declaresField = false});
        m_lineIsEmpty = false;
        m_at += length;
    }

    QStringView m_code;
    qsizetype m_at = 0;
    bool m_lineIsEmpty = true;
    bool m_inDirective = false;
};

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
    bool nextIs(QStringView text) const { return next() && next()->text == text; }
    const Token *previous() const { return m_at > 0 ? &m_tokens.at(m_at - 1) : nullptr; }
    bool inParameters() const { return !m_brackets.isEmpty() && m_brackets.last().parameters; }
    bool inFields() const { return !m_brackets.isEmpty() && m_brackets.last().fields; }

    void visit()
    {
        const Token &token = m_tokens.at(m_at);
        if (token.inDirective)
            visitDirective(token);
        else if (token.kind == Token::Word)
            visitWord(token);
        else if (token.kind == Token::Mark)
            visitMark(token.text.front());
    }

    void visitDirective(const Token &token)
    {
        if (token.text != u"define" || !next() || next()->kind != Token::Word)
            return;
        declared.functions.insert(next()->text);
        declared.variables.insert(next()->text);
    }

    void visitWord(const Token &token)
    {
        const bool expected = std::exchange(m_declaratorExpected, false);
        if (isStatementWord(token.text)) {
            if (token.text == u"struct" && next() && next()->kind == Token::Word)
                m_structAhead = true;
            return;
        }
        const Token *before = previous();
        if (before && before->text == u"struct") {
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
        if (before.kind == Token::Word)
            return !isNoType(before.text) && !isStatementWord(before.text);
        return before.text == u"]"; // an array's type: float[3] values
    }

    void declare()
    {
        Token &token = m_tokens[m_at];
        if (inFields()) {
            token.declaresField = true;
            if (!isSwizzle(token.text))
                declared.fields.insert(token.text);
            m_listDepth = m_brackets.size();
        } else if (nextIs(u"(")) {
            declared.functions.insert(token.text);
            m_parametersAhead = true;
        } else {
            declared.variables.insert(token.text);
            if (!inParameters())
                m_listDepth = m_brackets.size();
        }
    }

    void visitMark(QChar mark)
    {
        m_declaratorExpected = false;
        if (mark == u'(' || mark == u'[' || mark == u'{')
            open(mark);
        else if (mark == u')' || mark == u']' || mark == u'}')
            close();
        else if (mark == u';')
            endStatement();
        else if (mark == u',')
            m_declaratorExpected = m_listDepth == m_brackets.size();
    }

    void open(QChar mark)
    {
        const bool structBody = mark == u'{' && std::exchange(m_structAhead, false);
        const bool parameters = mark == u'(' && std::exchange(m_parametersAhead, false);
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
    const bool called = after && after->text == u"(";
    if (before && before->kind == Token::Hash)
        return false;
    if (before && before->text == u".")
        return !called && declared.fields.contains(token.text);
    if (token.declaresField)
        return declared.fields.contains(token.text);
    if (declared.structs.contains(token.text))
        return true;
    if (called)
        return declared.functions.contains(token.text);
    // A word before another one is a type, even where a variable has the type's name.
    const bool typeOfNext = after && after->kind == Token::Word && !token.inDirective;
    return !typeOfNext && declared.variables.contains(token.text);
}

} // namespace

DefinitionCodeMangler::DefinitionCodeMangler(const QString &code, const QString &prefix,
                                             const QSet<QString> &kept)
    : m_prefix(prefix)
{
    QList<Token> tokens = Tokens(code).list;
    const Declared declared = DeclarationScan(tokens).declared;
    for (const QStringView function : declared.functions) {
        if (!kept.contains(function.toString()))
            m_functions.insert(function.toString());
    }

    qsizetype copied = 0;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const Token &token = tokens.at(i);
        if (token.kind != Token::Word || !isOwnName(tokens, i, declared))
            continue;
        const QString name = token.text.toString();
        if (kept.contains(name))
            continue;
        m_result += QStringView(code).mid(copied, token.start - copied);
        const QString newName = mangledName(prefix, name);
        m_originalNames.insert(newName, name);
        m_result += newName;
        copied = token.start + token.text.size();
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
