#pragma once

#include <eval/internal/frontend/Tokenizer.h>

#include <array>

namespace eval::internal {

/// The tokens of a source with the look-ahead that the grammar needs: a long text costs no token
/// list.
class TokenStream
{
public:
    explicit TokenStream(QStringView source);

    /// The token `ahead` places on; End beyond the end.
    const Token &peek(int ahead = 0) const
    {
        return m_window[static_cast<size_t>((m_first + ahead) % lookAhead)];
    }
    bool at(TokenKind kind) const { return peek().is(kind); }
    /// Whether nothing, not even a blank, stands between the front token and the one consumed
    /// before it.
    bool touchesPrevious() const { return peek().text.data() == m_consumedEnd; }
    /// Consumes the front token. End is never consumed.
    Token next();
    /// Everything reads as End from here on.
    void stop();
    /// Tokenizes what the parser left, so that its unexpected characters are reported too.
    const DiagnosticList &finish();

private:
    static constexpr int lookAhead = 3;

    Tokenizer m_tokenizer;
    std::array<Token, lookAhead> m_window;
    int m_first = 0;
    const QChar *m_consumedEnd = nullptr;
};

} // namespace eval::internal
