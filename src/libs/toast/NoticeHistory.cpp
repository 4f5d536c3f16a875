#include "NoticeHistory.h"

#include <store/SafeFile.h>

#include <QDir>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace toast {

namespace {

QLatin1StringView severityWord(Severity severity)
{
    static constexpr QLatin1StringView words[] = {"INFO"_L1, "SUCCESS"_L1, "WARNING"_L1,
                                                  "ERROR"_L1};
    static_assert(std::size(words) == int(Severity::Error) + 1);
    return words[int(severity)];
}

} // namespace

QString noticeText(const ToastRecord &record)
{
    const QString time =
        QDateTime::fromMSecsSinceEpoch(record.timestamp).toString(u"yyyy-MM-dd HH:mm:ss"_s);
    const QString times = record.count > 1 ? u" (%1 times)"_s.arg(record.count) : QString();
    QString text = u"%1 [%2] %3%4"_s.arg(time, severityWord(record.severity), record.title, times);
    if (!record.body.isEmpty())
        text += u'\n' + record.body;
    return text + u'\n';
}

QString historyText(const QList<ToastRecord> &records)
{
    QStringList notices;
    for (const ToastRecord &record : records)
        notices.append(noticeText(record));
    return notices.join(u'\n');
}

SavedHistory saveHistory(const QList<ToastRecord> &records, const QString &desktop,
                         const QDateTime &now)
{
    if (desktop.isEmpty())
        return {.path = {}, .error = u"Could not determine Desktop location."_s};
    const QString folder = QDir(desktop).filePath(u"ondrel-notifications"_s);
    if (!QDir().mkpath(folder))
        return {.path = {}, .error = u"Could not create folder: %1"_s.arg(folder)};
    const QString name = u"notifications-%1.txt"_s.arg(now.toString(u"yyyy-MM-dd_HH-mm-ss"_s));
    const QString path = QDir(folder).filePath(name);
    QString why;
    if (!store::writeFile(path, historyText(records).toUtf8(), &why))
        return {.path = {}, .error = u"Could not write to %1: %2"_s.arg(path, why)};
    return {.path = path, .error = {}};
}

ProblemSummary summarize(const QList<ErrorEntry> &entries)
{
    int errors = 0;
    int warnings = 0;
    QStringList lines;
    for (const ErrorEntry &entry : entries) {
        if (entry.severity == ErrorSeverity::Info)
            continue;
        ++(entry.severity == ErrorSeverity::Warning ? warnings : errors);
        lines.append(u"• %1: %2"_s.arg(entry.source, entry.message));
    }
    QStringList counts;
    if (errors > 0)
        counts.append(u"%1 error(s)"_s.arg(errors));
    if (warnings > 0)
        counts.append(u"%1 warning(s)"_s.arg(warnings));
    return {.text = counts.isEmpty() ? u"No problems detected"_s : counts.join(u", "_s),
            .toolTip = lines.join(u'\n')};
}

} // namespace toast
