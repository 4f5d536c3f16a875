#pragma once

#include <QByteArrayView>

namespace mesh::io {

/// Numbers as text, the same in every locale.

/// Reads a whole token as a number; a "+" in front is allowed. A number too large for T becomes
/// infinite, one too small zero; "nan" and "inf" are numbers here, so that a reader can refuse them
/// by name.
template<typename T>
bool parseReal(QByteArrayView token, T &value);

/// Reads a whole token as a decimal integer within 64 bits.
bool parseInteger(QByteArrayView token, qint64 &value);

/// Cuts a line into tokens at blanks and tabs.
class Tokens
{
public:
    explicit Tokens(QByteArrayView line)
        : m_at(line.begin())
        , m_end(line.end())
    {}

    /// The next token; empty at the end.
    QByteArrayView next();

    /// What is left of the line, without blanks at its ends.
    QByteArrayView rest() const { return QByteArrayView(m_at, m_end).trimmed(); }

private:
    const char *m_at;
    const char *m_end;
};

/// Whether a token is this word of lower-case letters, in any case.
bool isWord(QByteArrayView token, QByteArrayView word);

extern template bool parseReal(QByteArrayView token, float &value);
extern template bool parseReal(QByteArrayView token, double &value);

} // namespace mesh::io
