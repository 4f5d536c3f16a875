#include <corvane/expr/NameScanner.h>

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

bool startsName(QChar c)
{
    return c.isLetter() || c == u'_';
}

bool continuesName(QChar c)
{
    return c.isLetterOrNumber() || c == u'_';
}

/// Walks over the text once.
class Scanner
{
public:
    explicit Scanner(const QString &text)
        : m_text(text)
    {}

    QList<NameReference> scan()
    {
        while (m_at < m_text.size()) {
            if (!skipComment() && !skipNumber() && !takeReference())
                ++m_at;
        }
        return m_references;
    }

private:
    QChar peek(qsizetype ahead = 0) const
    {
        return m_at + ahead < m_text.size() ? m_text.at(m_at + ahead) : QChar();
    }

    bool skipComment()
    {
        if (peek() != u'/' || (peek(1) != u'/' && peek(1) != u'*'))
            return false;
        const bool isLine = peek(1) == u'/';
        const qsizetype end =
            isLine ? m_text.indexOf(u'\n', m_at) : m_text.indexOf(u"*/"_s, m_at + 2);
        m_at = end < 0 ? m_text.size() : end + (isLine ? 1 : 2);
        return true;
    }

    bool skipNumber()
    {
        if (!peek().isDigit() && !(peek() == u'.' && peek(1).isDigit()))
            return false;
        const bool isHex = peek() == u'0' && peek(1).toLower() == u'x';
        for (; m_at < m_text.size(); ++m_at) {
            const QChar c = peek();
            const bool isSign = c == u'+' || c == u'-';
            const bool afterExponent = !isHex && m_text.at(m_at - (m_at > 0)).toLower() == u'e';
            if (!continuesName(c) && c != u'.' && !(isSign && afterExponent))
                break;
        }
        return true;
    }

    bool takeReference()
    {
        NameReference reference;
        reference.position = m_at;
        reference.isQuoted = peek() == u'"';
        if (!takePart(reference))
            return false;
        // A member of something that is no name, such as the result of a call.
        const bool isMember = reference.position > 0 && m_text.at(reference.position - 1) == u'.' &&
                              !reference.isQuoted;
        while (peek() == u'.') {
            const qsizetype dot = m_at++;
            if (!takePart(reference)) {
                m_at = dot + 1;
                break;
            }
        }
        const bool isWord = !reference.isQuoted && !reference.isDefaultScoped() &&
                            isReservedWord(reference.parts.at(0));
        if (!isMember && !isWord && !endsInCall(reference))
            m_references.append(reference);
        return true;
    }

    /// A name, or any text in quotes. Nothing is consumed where neither stands here.
    bool takePart(NameReference &reference)
    {
        const qsizetype begin = m_at;
        if (peek() == u'"') {
            const qsizetype close = m_text.indexOf(u'"', begin + 1);
            if (close < 0)
                return false;
            m_at = close + 1;
            reference.parts.append(m_text.mid(begin + 1, close - begin - 1));
        } else if (startsName(peek())) {
            while (m_at < m_text.size() && continuesName(peek()))
                ++m_at;
            reference.parts.append(m_text.mid(begin, m_at - begin));
        } else {
            return false;
        }
        reference.ends.append(m_at);
        return true;
    }

    /// Drops a last part that is called; true when nothing remains.
    bool endsInCall(NameReference &reference) const
    {
        qsizetype next = m_at;
        while (next < m_text.size() && m_text.at(next).isSpace())
            ++next;
        if (next >= m_text.size() || m_text.at(next) != u'(')
            return false;
        reference.parts.removeLast();
        reference.ends.removeLast();
        return reference.parts.isEmpty();
    }

    const QString &m_text;
    qsizetype m_at = 0;
    QList<NameReference> m_references;
};

} // namespace

QList<NameReference> scanNames(const QString &text)
{
    return Scanner(text).scan();
}

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
    return !name.isEmpty() && startsName(name.at(0)) &&
           std::all_of(name.cbegin(), name.cend(), continuesName) && !isReservedWord(name);
}

} // namespace corvane::expr
