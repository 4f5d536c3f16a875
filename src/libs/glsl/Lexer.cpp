#include <glsl/Lexer.h>

#include <glsl/Words.h>

#include <array>
#include <string_view>

namespace glsl {

namespace {

struct Operator
{
    std::u16string_view text;
    TokenKind kind;
};

/// Grouped by the first character, longest first: the first entry that fits is the one meant.
constexpr auto operators = std::to_array<Operator>({
    {u"(", TokenKind::LeftParen},   {u")", TokenKind::RightParen},
    {u"{", TokenKind::LeftBrace},   {u"}", TokenKind::RightBrace},
    {u"[", TokenKind::LeftBracket}, {u"]", TokenKind::RightBracket},
    {u",", TokenKind::Comma},       {u";", TokenKind::Semicolon},
    {u":", TokenKind::Colon},       {u"?", TokenKind::Question},
    {u".", TokenKind::Dot},         {u"++", TokenKind::Increment},
    {u"+=", TokenKind::PlusAssign}, {u"+", TokenKind::Plus},
    {u"--", TokenKind::Decrement},  {u"-=", TokenKind::MinusAssign},
    {u"-", TokenKind::Minus},       {u"*=", TokenKind::StarAssign},
    {u"*", TokenKind::Star},        {u"/=", TokenKind::SlashAssign},
    {u"/", TokenKind::Slash},       {u"%=", TokenKind::PercentAssign},
    {u"%", TokenKind::Percent},     {u"==", TokenKind::EqualEqual},
    {u"=", TokenKind::Assign},      {u"!=", TokenKind::NotEqual},
    {u"!", TokenKind::Not},         {u"<<=", TokenKind::ShiftLeftAssign},
    {u"<<", TokenKind::ShiftLeft},  {u"<=", TokenKind::LessEqual},
    {u"<", TokenKind::Less},        {u">>=", TokenKind::ShiftRightAssign},
    {u">>", TokenKind::ShiftRight}, {u">=", TokenKind::GreaterEqual},
    {u">", TokenKind::Greater},     {u"&&", TokenKind::AndAnd},
    {u"&=", TokenKind::AndAssign},  {u"&", TokenKind::And},
    {u"||", TokenKind::OrOr},       {u"|=", TokenKind::OrAssign},
    {u"|", TokenKind::Or},          {u"^^", TokenKind::XorXor},
    {u"^=", TokenKind::XorAssign},  {u"^", TokenKind::Xor},
    {u"~", TokenKind::Tilde},
});

constexpr size_t noOperator = operators.size();

/// Where the group of a first character begins.
constexpr auto operatorGroups = [] {
    std::array<size_t, 128> groups{};
    groups.fill(noOperator);
    for (size_t i = operators.size(); i-- > 0;)
        groups[operators[i].text.front()] = i;
    return groups;
}();

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool startsWord(QChar c)
{
    return c.isLetter() || c == u'_';
}

} // namespace

Token Lexer::next()
{
    skipBlank();
    if (m_position >= m_source.size())
        return take(TokenKind::End, 0);
    const QChar c = at(0);
    if (m_dialect.directives && m_lineIsEmpty && c == u'#') {
        m_inDirective = true;
        return take(TokenKind::Hash, 1);
    }
    if (isDigit(c) || (c == u'.' && isDigit(at(1))))
        return takeNumber();
    if (startsWord(c))
        return takeWord();
    if (m_dialect.quotes && c == u'"')
        return takeQuoted();
    return takeOperator();
}

void Lexer::skipBlank()
{
    while (m_position < m_source.size()) {
        const QChar c = at(0);
        if (c == u'\n') {
            m_inDirective = false;
            m_lineIsEmpty = true;
        }
        if (c.isSpace()) {
            countLineBreak();
            advance(1);
        } else if (m_dialect.comments && c == u'/' && at(1) == u'/') {
            skipLineComment();
        } else if (m_dialect.comments && c == u'/' && at(1) == u'*') {
            skipBlockComment();
        } else if (!skipContinuation()) {
            return;
        }
    }
}

/// A backslash at the end of a line, which goes on with the next one.
bool Lexer::skipContinuation()
{
    if (!m_dialect.directives || at(0) != u'\\')
        return false;
    const qsizetype lineBreak = at(1) == u'\r' ? 2 : 1;
    if (at(lineBreak) != u'\n')
        return false;
    advance(lineBreak);
    countLineBreak();
    advance(1);
    return true;
}

// Whether a backslash carries a comment on differs between versions of GLSL: code that is none
// after all must not pass unseen. It does carry on the directive around.
void Lexer::skipLineComment()
{
    while (m_position < m_source.size() && at(0) != u'\n') {
        if (m_inDirective && skipContinuation())
            return;
        advance(1);
    }
}

void Lexer::skipBlockComment()
{
    advance(2);
    while (m_position < m_source.size()) {
        if (at(0) == u'*' && at(1) == u'/') {
            advance(2);
            return;
        }
        countLineBreak();
        advance(1);
    }
}

void Lexer::countLineBreak()
{
    if (at(0) == u'\n') {
        ++m_line;
        m_lineStart = m_position + 1;
    }
}

Token Lexer::take(TokenKind kind, qsizetype length)
{
    const Token token{.kind = kind,
                      .text = m_source.sliced(m_position, length),
                      .line = m_line,
                      .column = static_cast<int>(m_position - m_lineStart) + 1,
                      .length = static_cast<int>(length),
                      .inDirective = m_inDirective};
    m_lineIsEmpty = false;
    advance(length);
    return token;
}

qsizetype Lexer::digitsFrom(qsizetype offset) const
{
    while (isDigit(at(offset)))
        ++offset;
    return offset;
}

Token Lexer::takeNumber()
{
    qsizetype length = 0;
    bool isFraction = false;
    if (at(0) == u'0' && at(1).toLower() == u'x') {
        length = 2;
        while (isHexDigit(at(length)))
            ++length;
    } else {
        length = digitsFrom(0);
        if (at(length) == u'.') {
            isFraction = true;
            length = digitsFrom(length + 1);
        }
        if (at(length).toLower() == u'e') {
            isFraction = true;
            const QChar sign = at(length + 1);
            length = digitsFrom(length + (sign == u'+' || sign == u'-' ? 2 : 1));
        }
    }
    const TokenKind kind = readSuffix(length, isFraction);
    while (!m_dialect.strict && (continuesWord(at(length)) || at(length) == u'.'))
        ++length;
    return take(kind, length);
}

TokenKind Lexer::readSuffix(qsizetype &length, bool isFraction) const
{
    bool isUnsigned = false;
    bool isLong = false;
    for (;; ++length) {
        const QChar c = at(length).toLower();
        if (c == u'f' && !isLong) {
            ++length;
            return TokenKind::FloatLiteral;
        }
        if (c != u'u' && c != u'l')
            break;
        isUnsigned = isUnsigned || c == u'u';
        isLong = isLong || c == u'l';
    }
    if (isFraction)
        return TokenKind::FloatLiteral;
    if (isLong)
        return isUnsigned ? TokenKind::Unsigned64Literal : TokenKind::Int64Literal;
    return isUnsigned ? TokenKind::UnsignedLiteral : TokenKind::IntLiteral;
}

bool Lexer::continuesWord(QChar c) const
{
    if (m_dialect.strict)
        return startsWord(c) || c.isDigit();
    return c.isLetterOrNumber() || c == u'_' || c.isMark();
}

Token Lexer::takeWord()
{
    qsizetype length = 1;
    while (continuesWord(at(length)))
        ++length;
    return take(kindOfWord(m_source.sliced(m_position, length)), length);
}

Token Lexer::takeQuoted()
{
    const qsizetype close = m_source.indexOf(u'"', m_position + 1);
    return close < 0 ? takeUnknown() : take(TokenKind::Quoted, close + 1 - m_position);
}

Token Lexer::takeOperator()
{
    const QStringView rest = m_source.sliced(m_position);
    const char16_t first = rest.front().unicode();
    for (size_t i = first < operatorGroups.size() ? operatorGroups[first] : noOperator;
         i < operators.size() && operators[i].text.front() == first; ++i) {
        if (rest.startsWith(QStringView(operators[i].text)))
            return take(operators[i].kind, static_cast<qsizetype>(operators[i].text.size()));
    }
    return takeUnknown();
}

Token Lexer::takeUnknown()
{
    // A character beyond the basic plane is two units, whose halves are no text.
    const bool isPair = at(0).isHighSurrogate() && at(1).isLowSurrogate();
    return take(TokenKind::Unknown, isPair ? 2 : 1);
}

} // namespace glsl
