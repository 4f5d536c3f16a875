#include "SourceScanner.h"

namespace shader {

namespace {

bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// Anything beyond ASCII counts as a letter: the compiler refuses it, but this is not the place.
bool isLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80;
}

bool isBracket(char16_t c)
{
    return c == u'(' || c == u')' || c == u'[' || c == u']' || c == u'{' || c == u'}';
}

} // namespace

SourceToken SourceScanner::next()
{
    skipBlank();
    if (m_pos >= m_text.size())
        return {.kind = SourceToken::Kind::End, .text = {}, .line = m_line};
    const char16_t c = at();
    if (c == u'#' && m_atLineStart)
        return takeDirective();
    m_atLineStart = false;
    if (isLetter(c))
        return take(SourceToken::Kind::Identifier, wordLength());
    if (isDigit(c) || (c == u'.' && isDigit(at(1))))
        return take(SourceToken::Kind::Number, numberLength());
    if (c == u';')
        return take(SourceToken::Kind::Semicolon, 1);
    return take(isBracket(c) ? SourceToken::Kind::Bracket : SourceToken::Kind::Operator, 1);
}

void SourceScanner::skipBlank()
{
    while (m_pos < m_text.size()) {
        const char16_t c = at();
        if (c == u'\n') {
            ++m_line;
            m_atLineStart = true;
            ++m_pos;
        } else if (c <= u' ' || (c == u'\\' && (at(1) == u'\n' || at(1) == u'\r'))) {
            ++m_pos;
        } else if (c == u'/' && at(1) == u'/') {
            skipLineComment();
        } else if (c == u'/' && at(1) == u'*') {
            skipBlockComment();
        } else {
            return;
        }
    }
}

void SourceScanner::skipLineComment()
{
    while (m_pos < m_text.size() && at() != u'\n')
        ++m_pos;
}

void SourceScanner::skipBlockComment()
{
    m_pos += 2;
    while (m_pos < m_text.size() && !(at() == u'*' && at(1) == u'/')) {
        if (at() == u'\n')
            ++m_line;
        ++m_pos;
    }
    m_pos = std::min(m_pos + 2, m_text.size());
}

SourceToken SourceScanner::take(SourceToken::Kind kind, qsizetype length)
{
    const SourceToken token{.kind = kind, .text = m_text.sliced(m_pos, length), .line = m_line};
    m_pos += length;
    return token;
}

// A backslash at the end of a line carries the directive on to the next, and so does a comment.
SourceToken SourceScanner::takeDirective()
{
    const qsizetype start = ++m_pos;
    const int line = m_line;
    while (m_pos < m_text.size() && at() != u'\n') {
        if (at() == u'\\' && at(1) == u'\n') {
            ++m_line;
            m_pos += 2;
        } else if (at() == u'\\' && at(1) == u'\r' && at(2) == u'\n') {
            ++m_line;
            m_pos += 3;
        } else if (at() == u'/' && at(1) == u'*') {
            skipBlockComment();
        } else {
            ++m_pos;
        }
    }
    return {.kind = SourceToken::Kind::Directive,
            .text = m_text.sliced(start, m_pos - start),
            .line = line};
}

qsizetype SourceScanner::wordLength() const
{
    qsizetype length = 1;
    while (isLetter(at(length)) || isDigit(at(length)))
        ++length;
    return length;
}

qsizetype SourceScanner::numberLength() const
{
    qsizetype length = 1;
    while (isLetter(at(length)) || isDigit(at(length)) || at(length) == u'.')
        ++length;
    return length;
}

} // namespace shader
