#include <eval/internal/frontend/DiagnosticList.h>

namespace eval::internal {

void DiagnosticList::add(DiagnosticCategory category, const SourceSpan &span,
                         const QString &message)
{
    m_stopsCompile = m_stopsCompile || internal::stopsCompile(category);
    if (!hasRoom())
        return;
    Diagnostic diagnostic;
    diagnostic.category = category;
    diagnostic.message = message;
    diagnostic.span = span;
    m_kept.append(diagnostic);
}

bool stopsCompile(DiagnosticCategory category)
{
    return static_cast<int>(category) < 4;
}

} // namespace eval::internal
