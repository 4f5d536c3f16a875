#include "refusal.h"

namespace shader {

Diagnostic refusal(int line, const QString &message)
{
    return {.line = line,
            .column = 0,
            .message = message,
            .severity = Diagnostic::Severity::Error,
            .filename = {}};
}

} // namespace shader
