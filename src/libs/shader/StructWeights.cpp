#include "StructWeights.h"

using namespace Qt::StringLiterals;

namespace shader {

qint64 StructWeights::visit(const SourceToken &token)
{
    if (m_depth == 0) {
        begin(token);
        return 0;
    }
    if (token.is(u'{'))
        ++m_depth;
    else if (token.is(u'}') && --m_depth == 0)
        m_weights.insert(m_name, m_total);
    else if (token.is(u','))
        ++m_declarators;
    else if (token.kind == SourceToken::Kind::Semicolon)
        endMember();
    else if (token.kind == SourceToken::Kind::Identifier)
        m_memberWeight = std::max(m_memberWeight, m_weights.value(token.text, 1));
    return m_total;
}

void StructWeights::begin(const SourceToken &token)
{
    if (token.text == "struct"_L1) {
        m_isAnnounced = true;
        m_name = {};
    } else if (m_isAnnounced && token.kind == SourceToken::Kind::Identifier) {
        m_name = token.text;
    } else if (m_isAnnounced) {
        m_isAnnounced = false;
        m_depth = token.is(u'{') ? 1 : 0;
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
