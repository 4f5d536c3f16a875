#include <eval/internal/frontend/TokenStream.h>

namespace eval::internal {

TokenStream::TokenStream(QStringView source)
    : m_tokenizer(source)
{
    for (Token &token : m_window)
        token = m_tokenizer.next();
}

Token TokenStream::next()
{
    const Token front = peek();
    if (front.is(TokenKind::End))
        return front;
    m_consumedEnd = front.text.data() + front.text.size();
    m_window[static_cast<size_t>(m_first)] = m_tokenizer.next();
    m_first = (m_first + 1) % lookAhead;
    return front;
}

void TokenStream::stop()
{
    for (Token &token : m_window) {
        token.kind = TokenKind::End;
        token.text = {};
        token.length = 0;
    }
}

const DiagnosticList &TokenStream::finish()
{
    while (!m_tokenizer.next().is(TokenKind::End)) {
    }
    return m_tokenizer.diagnostics();
}

} // namespace eval::internal
