#include <corvane/expr/NameScanner.h>

#include <glsl/Lexer.h>

#include <QSet>

#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::expr {

using glsl::TokenKind;

namespace {

/// Walks over the text once, with the tokens before and behind.
class Scanner
{
public:
    explicit Scanner(const QString &text)
        : m_text(text)
        , m_lexer(m_text, glsl::expressionText)
        , m_at(m_lexer.next())
        , m_behind(m_lexer.next())
    {}

    QList<NameReference> scan()
    {
        while (!m_at.is(TokenKind::End)) {
            if (isPart(m_at))
                takeReference();
            else
                advance();
        }
        return m_references;
    }

private:
    static bool isPart(const glsl::Token &token)
    {
        return token.isWord() || token.is(TokenKind::Quoted);
    }

    void advance()
    {
        m_before = std::exchange(m_at, m_behind);
        m_behind = m_lexer.next();
    }

    void takeReference()
    {
        NameReference reference;
        reference.position = m_at.text.data() - m_text.data();
        reference.isQuoted = m_at.is(TokenKind::Quoted);
        // A member of something that is no name, such as the result of a call.
        const bool isMember =
            m_before.is(TokenKind::Dot) && m_at.touches(m_before) && !reference.isQuoted;
        takePart(reference);
        while (m_at.is(TokenKind::Dot) && m_at.touches(m_before) && isPart(m_behind) &&
               m_behind.touches(m_at)) {
            advance();
            takePart(reference);
        }
        const bool isWord = !reference.isQuoted && !reference.isDefaultScoped() &&
                            isReservedWord(reference.parts.at(0));
        if (m_at.is(TokenKind::LeftParen)) { // what is called is no name
            reference.parts.removeLast();
            reference.ends.removeLast();
        }
        if (!isMember && !isWord && !reference.parts.isEmpty())
            m_references.append(reference);
    }

    void takePart(NameReference &reference)
    {
        const bool isQuoted = m_at.is(TokenKind::Quoted);
        const QStringView name = isQuoted ? m_at.text.sliced(1).chopped(1) : m_at.text;
        reference.parts.append(name.toString());
        reference.ends.append(m_at.text.end() - m_text.data());
        advance();
    }

    QStringView m_text;
    glsl::Lexer m_lexer;
    glsl::Token m_before;
    glsl::Token m_at;
    glsl::Token m_behind;
    QList<NameReference> m_references;
};

} // namespace

QList<NameReference> scanNames(const QString &text)
{
    return Scanner(text).scan();
}

// Not derived from the tables of the language: whether a name stands in quotes in a saved
// expression hangs on this set, so it has to stay what it is.
bool isReservedWord(const QString &word)
{
    static const QSet<QString> words{
        u"if"_s,       u"else"_s,   u"for"_s,    u"while"_s,   u"do"_s,      u"break"_s,
        u"continue"_s, u"switch"_s, u"case"_s,   u"default"_s, u"discard"_s, u"return"_s,
        u"in"_s,       u"out"_s,    u"inout"_s,  u"const"_s,   u"true"_s,    u"false"_s,
        u"void"_s,     u"float"_s,  u"double"_s, u"int"_s,     u"uint"_s,    u"int64_t"_s,
        u"uint64_t"_s, u"bool"_s,   u"vec2"_s,   u"vec3"_s,    u"vec4"_s,    u"dvec2"_s,
        u"dvec3"_s,    u"dvec4"_s,  u"ivec2"_s,  u"ivec3"_s,   u"ivec4"_s,   u"uvec2"_s,
        u"uvec3"_s,    u"uvec4"_s,  u"bvec2"_s,  u"bvec3"_s,   u"bvec4"_s,   u"mat2"_s,
        u"mat3"_s,     u"mat4"_s,   u"mat2x3"_s, u"mat2x4"_s,  u"mat3x2"_s,  u"mat3x4"_s,
        u"mat4x2"_s,   u"mat4x3"_s, u"dmat2"_s,  u"dmat3"_s,   u"dmat4"_s,
    };
    return words.contains(word);
}

bool isPlainIdentifier(const QString &name)
{
    const glsl::Token word = glsl::Lexer(name, glsl::fieldLanguage).next();
    return word.isWord() && word.text.size() == name.size() && !isReservedWord(name);
}

} // namespace corvane::expr
