#include "NumberText.h"

#include <charconv>
#include <limits>

namespace mesh::io {

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

QByteArrayView withoutPlus(QByteArrayView token)
{
    const bool hasPlus = token.size() > 1 && token[0] == '+' && token[1] != '-';
    return hasPlus ? token.sliced(1) : token;
}

// Of a number that T cannot hold the exponent's sign tells which end it is off.
template<typename T>
T outOfRange(QByteArrayView token)
{
    const bool isTiny = token.contains("e-") || token.contains("E-");
    const bool isWithoutExponent = !token.contains('e') && !token.contains('E');
    const bool isFraction =
        isWithoutExponent && (token.startsWith("0.") || token.startsWith("-0.") ||
                              token.startsWith('.') || token.startsWith("-."));
    if (isTiny || isFraction)
        return T(0);
    const T infinity = std::numeric_limits<T>::infinity();
    return token.startsWith('-') ? -infinity : infinity;
}

} // namespace

template<typename T>
bool parseReal(QByteArrayView token, T &value)
{
    const QByteArrayView text = withoutPlus(token);
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    if (end != text.end() || text.isEmpty())
        return false;
    if (error == std::errc::result_out_of_range)
        value = outOfRange<T>(text);
    return error != std::errc::invalid_argument;
}

bool parseInteger(QByteArrayView token, qint64 &value)
{
    const QByteArrayView text = withoutPlus(token);
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    return error == std::errc() && end == text.end();
}

QByteArrayView Tokens::next()
{
    while (m_at != m_end && isBlank(*m_at))
        ++m_at;
    const char *const begin = m_at;
    while (m_at != m_end && !isBlank(*m_at))
        ++m_at;
    return QByteArrayView(begin, m_at);
}

bool isWord(QByteArrayView token, QByteArrayView word)
{
    return token.size() == word.size() && token.compare(word, Qt::CaseInsensitive) == 0;
}

template bool parseReal(QByteArrayView token, float &value);
template bool parseReal(QByteArrayView token, double &value);

} // namespace mesh::io
