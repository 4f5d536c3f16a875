#pragma once

#include <glsl/Token.h>

#include <QHash>

namespace shader {

/// How many members each struct of a text has with the structs in it spread out. The compiler walks
/// a type member by member, without remembering what it has seen: of structs that hold two of the
/// one before, 40 would keep it busy for hours.
class StructWeights
{
public:
    /// Takes the tokens of a text in order; answers the members of the struct that is being read.
    qint64 visit(const glsl::Token &token);

private:
    void begin(const glsl::Token &token);
    void endMember();

    static constexpr qint64 most = qint64(1) << 40; ///< sums stay there, far from overflow

    QHash<QStringView, qint64> m_weights;
    QStringView m_name;
    int m_depth = 0; ///< of braces in the struct
    qint64 m_total = 0;
    qint64 m_memberWeight = 1;
    int m_declarators = 1;
    bool m_isAnnounced = false; ///< "struct" was read, its brace not yet
};

} // namespace shader
