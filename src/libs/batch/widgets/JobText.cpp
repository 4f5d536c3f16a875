#include <batch_widgets/JobText.h>

#include <QCoreApplication>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace batch {

namespace {

constexpr std::array<const char *, jobColumnCount> titles = {
    QT_TRANSLATE_NOOP("batch::JobText", "ID"),
    QT_TRANSLATE_NOOP("batch::JobText", "Type"),
    QT_TRANSLATE_NOOP("batch::JobText", "Status"),
    QT_TRANSLATE_NOOP("batch::JobText", "Priority"),
    QT_TRANSLATE_NOOP("batch::JobText", "Progress"),
    QT_TRANSLATE_NOOP("batch::JobText", "Source"),
    QT_TRANSLATE_NOOP("batch::JobText", "Created"),
    QT_TRANSLATE_NOOP("batch::JobText", "Elapsed"),
    QT_TRANSLATE_NOOP("batch::JobText", "Error")};

QString translated(const char *text)
{
    return QCoreApplication::translate("batch::JobText", text);
}

QString elapsedText(const BatchJob &job, const QDateTime &now)
{
    if (!job.startedAt.isValid())
        return {};
    const qint64 ms = job.startedAt.msecsTo(job.completedAt.isValid() ? job.completedAt : now);
    if (ms <= 0)
        return {};
    return ms >= 1000 ? u"%1s"_s.arg(double(ms) / 1000.0, 0, 'f', 1) : u"%1ms"_s.arg(ms);
}

} // namespace

QString jobColumnTitle(JobColumn column)
{
    return translated(titles.at(std::size_t(column)));
}

int progressPercent(const BatchQueue::Progress &progress)
{
    const auto [current, total] = progress;
    return total > 0 ? int(std::lround(100.0 * double(current) / double(total))) : 0;
}

QString progressText(const BatchQueue::Progress &progress)
{
    const auto [current, total] = progress;
    if (total > 0)
        return u"%1/%2 %3%"_s.arg(QString::number(current), QString::number(total),
                                  QString::number(progressPercent(progress)));
    return current > 0 ? translated(QT_TRANSLATE_NOOP("batch::JobText", "%1 done")).arg(current)
                       : QString();
}

QString jobCellText(const BatchJob &job, const BatchQueue::Progress &progress, JobColumn column,
                    const QDateTime &now)
{
    switch (column) {
    case JobColumn::Id:
        return QString::number(job.id);
    case JobColumn::Type:
        return job.label.isEmpty() ? job.type : job.label;
    case JobColumn::Status:
        return batchStatusToString(job.status);
    case JobColumn::Priority:
        return QString::number(job.priority);
    case JobColumn::Progress: {
        const QString text = progressText(progress);
        return text.isEmpty() ? u"—"_s : text;
    }
    case JobColumn::Source:
        return job.source;
    case JobColumn::Created:
        return job.createdAt.toLocalTime().toString(u"HH:mm:ss"_s);
    case JobColumn::Elapsed:
        return elapsedText(job, now);
    case JobColumn::Error:
        return job.error;
    }
    return {};
}

QString jobCellToolTip(const BatchJob &job, JobColumn column)
{
    if (column == JobColumn::Status && !job.workerId.isEmpty())
        return translated(QT_TRANSLATE_NOOP("batch::JobText", "Worker: %1")).arg(job.workerId);
    if (column == JobColumn::Type && !job.label.isEmpty())
        return translated(QT_TRANSLATE_NOOP("batch::JobText", "Type: %1\nLabel: %2"))
            .arg(job.type, job.label);
    return column == JobColumn::Error ? job.error : QString();
}

int jobRank(BatchStatus status)
{
    switch (status) {
    case BatchStatus::InProgress:
        return 0;
    case BatchStatus::Hung:
        return 1;
    case BatchStatus::Pending:
        return 2;
    case BatchStatus::Failed:
    case BatchStatus::Cancelled:
        return 3;
    case BatchStatus::Done:
    case BatchStatus::Stopped:
        return 4;
    }
    return 5;
}

} // namespace batch
