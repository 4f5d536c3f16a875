#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/frontend/Tokenizer.h>

#include <optional>

namespace eval::internal {

/// Writes the value of a literal token into a node. One that cannot be read (too many bits, an
/// exponent without digits) gives 0 of its type, clears `valid` and answers false.
bool readLiteral(const Token &token, AstNode &node);

/// The value of an integer literal of up to 64 bits, in base 16, 8 or 10 by its prefix; suffixes
/// are allowed.
std::optional<quint64> readInteger(QStringView text);

} // namespace eval::internal
