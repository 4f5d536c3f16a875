#include "SourceWords.h"

using namespace Qt::StringLiterals;

namespace shader {

namespace {

constexpr QLatin1StringView statementWords[] = {"if"_L1,    "else"_L1, "for"_L1,
                                                "while"_L1, "do"_L1,   "switch"_L1};
constexpr QLatin1StringView jumpWords[] = {"case"_L1,     "default"_L1, "break"_L1,
                                           "continue"_L1, "return"_L1,  "discard"_L1};

} // namespace

bool isStatementWord(QStringView word)
{
    return std::find(std::begin(statementWords), std::end(statementWords), word) !=
           std::end(statementWords);
}

bool isBranchWord(QStringView word)
{
    return isStatementWord(word) ||
           std::find(std::begin(jumpWords), std::end(jumpWords), word) != std::end(jumpWords);
}

Diagnostic refusal(int line, const QString &message)
{
    return {.line = line,
            .column = 0,
            .message = message,
            .severity = Diagnostic::Severity::Error,
            .filename = {}};
}

} // namespace shader
