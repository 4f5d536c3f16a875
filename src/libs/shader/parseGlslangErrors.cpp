#include <shader/Diagnostic.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace shader {

namespace {

Diagnostic::Severity severityOf(QStringView word)
{
    if (word == "WARNING"_L1)
        return Diagnostic::Severity::Warning;
    if (word == "INFO"_L1)
        return Diagnostic::Severity::Info;
    return Diagnostic::Severity::Error;
}

} // namespace

QList<Diagnostic> parseGlslangErrors(const QString &text)
{
    static const QRegularExpression pattern(
        u"(ERROR|WARNING|INFO):\\s*([^:]*):(\\d+)(?::(\\d+))?:\\s*(.+)"_s,
        QRegularExpression::MultilineOption);
    QList<Diagnostic> diagnostics;
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        diagnostics.append({.line = match.capturedView(3).toInt(),
                            .column = match.capturedView(4).toInt(),
                            .message = match.captured(5).trimmed(),
                            .severity = severityOf(match.capturedView(1)),
                            .filename = match.captured(2).trimmed()});
    }
    const QString whole = text.trimmed();
    if (diagnostics.isEmpty() && !whole.isEmpty())
        diagnostics.append({.line = -1,
                            .column = 0,
                            .message = whole,
                            .severity = Diagnostic::Severity::Error,
                            .filename = {}});
    return diagnostics;
}

} // namespace shader
