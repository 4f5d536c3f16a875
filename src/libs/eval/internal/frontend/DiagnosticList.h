#pragma once

#include <eval/Diagnostic.h>

#include <QList>
#include <QString>

namespace eval::internal {

/// Collects the diagnostics of one stage. A hostile source has an error a character: what goes
/// beyond the limit is counted, not kept.
class DiagnosticList
{
public:
    static constexpr qsizetype limit = 200;

    void add(DiagnosticCategory category, const SourceSpan &span, const QString &message);
    /// False for a stage that only wants to save itself the work of making a text.
    bool hasRoom() const { return m_kept.size() < limit; }

    const QList<Diagnostic> &kept() const { return m_kept; }
    bool isEmpty() const { return m_kept.isEmpty(); }
    /// Whether any diagnostic makes a compile fail, one that was not kept included.
    bool stopsCompile() const { return m_stopsCompile; }

private:
    QList<Diagnostic> m_kept;
    bool m_stopsCompile = false;
};

/// Whether a diagnostic of this category makes a compile fail.
bool stopsCompile(DiagnosticCategory category);

} // namespace eval::internal
