#include <eval/internal/Tokenizer.h>

#include <eval/Type.h>

#include <QHash>

#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

struct Keyword
{
    QStringView text;
    TokenKind kind;
};

constexpr auto keywords = std::to_array<Keyword>({
    {u"if", TokenKind::If},
    {u"else", TokenKind::Else},
    {u"for", TokenKind::For},
    {u"while", TokenKind::While},
    {u"do", TokenKind::Do},
    {u"switch", TokenKind::Switch},
    {u"case", TokenKind::Case},
    {u"default", TokenKind::Default},
    {u"break", TokenKind::Break},
    {u"continue", TokenKind::Continue},
    {u"return", TokenKind::Return},
    {u"discard", TokenKind::Discard},
    {u"in", TokenKind::In},
    {u"out", TokenKind::Out},
    {u"inout", TokenKind::InOut},
    {u"const", TokenKind::Const},
    {u"struct", TokenKind::Struct},
    // The words of the two truth values leave as literals, not as keywords of their own.
    {u"true", TokenKind::BoolLiteral},
    {u"false", TokenKind::BoolLiteral},
});

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

bool continuesWord(QChar c)
{
    return startsWord(c) || c.isDigit();
}

TokenKind kindOfWord(QStringView word)
{
    static const QHash<QStringView, TokenKind> table = [] {
        QHash<QStringView, TokenKind> kinds;
        for (const Keyword &keyword : keywords)
            kinds.insert(keyword.text, keyword.kind);
        return kinds;
    }();
    const auto found = table.constFind(word);
    if (found != table.constEnd())
        return *found;
    const std::optional<Type> type = typeFromKeyword(word);
    return type && *type != Type::String ? TokenKind::TypeKeyword : TokenKind::Identifier;
}

} // namespace

Tokenizer::Tokenizer(QStringView source)
    : m_source(source)
{}

Token Tokenizer::next()
{
    for (;;) {
        skipSpace();
        if (m_position >= m_source.size())
            return take(TokenKind::End, m_position);
        const QChar c = m_source[m_position];
        if (isDigit(c) || (c == u'.' && isDigit(at(1))))
            return readNumber();
        if (startsWord(c))
            return readWord();
        Token token;
        if (readOperator(token))
            return token;
        reportUnexpected();
    }
}

QList<Token> Tokenizer::tokenize()
{
    QList<Token> tokens;
    do {
        tokens.append(next());
    } while (!tokens.last().is(TokenKind::End));
    return tokens;
}

QChar Tokenizer::at(qsizetype offset) const
{
    const qsizetype position = m_position + offset;
    return position < m_source.size() ? m_source[position] : QChar();
}

int Tokenizer::column(qsizetype position) const
{
    return static_cast<int>(position - m_lineStart) + 1;
}

void Tokenizer::countLineBreak()
{
    if (m_source[m_position] == u'\n') {
        ++m_line;
        m_lineStart = m_position + 1;
    }
}

void Tokenizer::skipSpace()
{
    while (m_position < m_source.size()) {
        const QChar c = m_source[m_position];
        if (c.isSpace()) {
            countLineBreak();
            advance(1);
        } else if (c == u'/' && at(1) == u'/') {
            skipLineComment();
        } else if (c == u'/' && at(1) == u'*') {
            skipBlockComment();
        } else {
            return;
        }
    }
}

void Tokenizer::skipLineComment()
{
    while (m_position < m_source.size() && m_source[m_position] != u'\n')
        advance(1);
}

void Tokenizer::skipBlockComment()
{
    advance(2);
    while (m_position < m_source.size()) {
        if (m_source[m_position] == u'*' && at(1) == u'/') {
            advance(2);
            return;
        }
        countLineBreak();
        advance(1);
    }
}

void Tokenizer::skipDigits()
{
    while (isDigit(at(0)))
        advance(1);
}

Token Tokenizer::take(TokenKind kind, qsizetype start) const
{
    const QStringView text = m_source.sliced(start, m_position - start);
    return {kind, text, m_line, column(start), static_cast<int>(text.size())};
}

Token Tokenizer::readNumber()
{
    const qsizetype start = m_position;
    bool isFraction = false;
    if (at(0) == u'0' && (at(1) == u'x' || at(1) == u'X')) {
        advance(2);
        while (isHexDigit(at(0)))
            advance(1);
    } else {
        skipDigits();
        if (at(0) == u'.') {
            isFraction = true;
            advance(1);
            skipDigits();
        }
        if (at(0) == u'e' || at(0) == u'E') {
            isFraction = true;
            advance(1);
            if (at(0) == u'+' || at(0) == u'-')
                advance(1);
            skipDigits();
        }
    }
    const TokenKind kind = readNumberSuffix(isFraction);
    return take(kind, start);
}

TokenKind Tokenizer::readNumberSuffix(bool isFraction)
{
    bool isUnsigned = false;
    bool isLong = false;
    for (;;) {
        const QChar c = at(0).toLower();
        if (c == u'f' && !isLong) {
            advance(1);
            return TokenKind::FloatLiteral;
        }
        if (c != u'u' && c != u'l')
            break;
        isUnsigned = isUnsigned || c == u'u';
        isLong = isLong || c == u'l';
        advance(1);
    }
    if (isFraction)
        return TokenKind::FloatLiteral;
    if (isLong)
        return isUnsigned ? TokenKind::Unsigned64Literal : TokenKind::Int64Literal;
    return isUnsigned ? TokenKind::UnsignedLiteral : TokenKind::IntLiteral;
}

Token Tokenizer::readWord()
{
    const qsizetype start = m_position;
    while (continuesWord(at(0)))
        advance(1);
    return take(kindOfWord(m_source.sliced(start, m_position - start)), start);
}

bool Tokenizer::readOperator(Token &token)
{
    const QStringView rest = m_source.sliced(m_position);
    const char16_t first = rest.front().unicode();
    if (first >= operatorGroups.size())
        return false;
    for (size_t i = operatorGroups[first]; i < operators.size(); ++i) {
        const std::u16string_view text = operators[i].text;
        if (text.front() != first)
            return false;
        if (rest.startsWith(QStringView(text))) {
            const qsizetype start = m_position;
            advance(static_cast<qsizetype>(text.size()));
            token = take(operators[i].kind, start);
            return true;
        }
    }
    return false;
}

void Tokenizer::reportUnexpected()
{
    // A character beyond the basic plane is two units: reported as one, its halves are no text.
    const bool isPair = at(0).isHighSurrogate() && at(1).isLowSurrogate();
    const qsizetype units = isPair ? 2 : 1;
    if (m_diagnostics.hasRoom()) {
        const QString character = m_source.sliced(m_position, units).toString();
        m_diagnostics.add(DiagnosticCategory::Syntax, {m_line, column(m_position), 1},
                          u"unexpected character '%1'"_s.arg(character));
    }
    advance(units);
}

} // namespace eval::internal
