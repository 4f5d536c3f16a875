#include "StructWeights.h"

using namespace Qt::StringLiterals;

namespace shader {

using glsl::Token;
using glsl::TokenKind;

qint64 StructWeights::visit(const Token &token)
{
    if (m_depth == 0) {
        begin(token);
        return 0;
    }
    if (token.is(TokenKind::LeftBrace))
        ++m_depth;
    else if (token.is(TokenKind::RightBrace) && --m_depth == 0)
        m_weights.insert(m_name, m_total);
    else if (token.is(TokenKind::Comma))
        ++m_declarators;
    else if (token.is(TokenKind::Semicolon))
        endMember();
    else if (token.isWord())
        m_memberWeight = std::max(m_memberWeight, m_weights.value(token.text, 1));
    return m_total;
}

void StructWeights::begin(const Token &token)
{
    if (token.text == "struct"_L1) {
        m_isAnnounced = true;
        m_name = {};
    } else if (m_isAnnounced && token.isWord()) {
        m_name = token.text;
    } else if (m_isAnnounced) {
        m_isAnnounced = false;
        m_depth = token.is(TokenKind::LeftBrace) ? 1 : 0;
        m_total = 0;
    }
}

void StructWeights::endMember()
{
    m_total = std::min(most, m_total + m_memberWeight * m_declarators);
    m_memberWeight = 1;
    m_declarators = 1;
}

} // namespace shader
