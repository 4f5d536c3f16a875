#pragma once

#include <QStringView>

namespace shader {

/// A token of GLSL, as far as counting needs to know.
struct SourceToken
{
    enum class Kind { End, Identifier, Number, Operator, Bracket, Semicolon, Directive };

    Kind kind = Kind::End;
    QStringView text; ///< of a directive: the whole line behind the "#", continuations included
    int line = 1;

    [[nodiscard]] bool is(char16_t c) const { return text.size() == 1 && text.front() == c; }
};

/// Cuts GLSL text into tokens; comments are passed over.
class SourceScanner
{
public:
    explicit SourceScanner(QStringView text, int firstLine = 1)
        : m_text(text)
        , m_line(firstLine)
    {}

    [[nodiscard]] SourceToken next();

private:
    [[nodiscard]] char16_t at(qsizetype offset = 0) const
    {
        return m_pos + offset < m_text.size() ? m_text[m_pos + offset].unicode() : u'\0';
    }
    void skipBlank();
    void skipLineComment();
    void skipBlockComment();
    [[nodiscard]] SourceToken take(SourceToken::Kind kind, qsizetype length);
    [[nodiscard]] SourceToken takeDirective();
    [[nodiscard]] qsizetype wordLength() const;
    [[nodiscard]] qsizetype numberLength() const;

    QStringView m_text;
    qsizetype m_pos = 0;
    int m_line;
    bool m_atLineStart = true;
};

} // namespace shader
