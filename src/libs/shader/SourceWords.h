#pragma once

#include <shader/Diagnostic.h>

#include <QStringView>

namespace shader {

/// True for the words that nest a statement in another: if, else and the loops.
[[nodiscard]] bool isStatementWord(QStringView word);
/// True for all words that the flow of control divides at.
[[nodiscard]] bool isBranchWord(QStringView word);

[[nodiscard]] Diagnostic refusal(int line, const QString &message);

} // namespace shader
