#pragma once

#include <glsl/Token.h>

#include <QFlags>

namespace glsl {

/// What a word does where it stands. A word without a role is a name, as far as this library knows:
/// types and functions are not its business.
enum class WordRole {
    Nests = 1,     ///< holds a statement: if, else and the loops
    Jumps = 2,     ///< divides or ends the flow of control
    Qualifies = 4, ///< stands before a type
    Declares = 8,  ///< begins a declaration: const, struct
};
Q_DECLARE_FLAGS(WordRoles, WordRole)
Q_DECLARE_OPERATORS_FOR_FLAGS(WordRoles)

/// No roles for a name.
[[nodiscard]] WordRoles rolesOf(QStringView word);
/// The kind of a word's token: of its own for the keywords of the field language, BoolLiteral for
/// the two truth values, Identifier for every other word.
[[nodiscard]] TokenKind kindOfWord(QStringView word);

} // namespace glsl
