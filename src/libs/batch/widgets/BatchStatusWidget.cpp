#include <batch_widgets/BatchStatusWidget.h>

#include <batch_widgets/JobText.h>

using namespace Qt::StringLiterals;

// Out of any namespace, as the macro demands.
static void initializeBatchIcons()
{
    Q_INIT_RESOURCE(batch_icons);
}

namespace batch {

namespace {

/// The one that runs and was last heard of, else the first that waits.
qsizetype currentAmong(const QList<BatchJob> &active)
{
    qsizetype current = 0;
    for (qsizetype i = 1; i < active.size(); ++i) {
        const int rank = jobRank(active.at(i).status);
        const int best = jobRank(active.at(current).status);
        const bool isLater = rank == 0 && active.at(i).updatedAt > active.at(current).updatedAt;
        if (rank < best || (rank == best && isLater))
            current = i;
    }
    return current;
}

} // namespace

BatchStatusWidget::BatchStatusWidget(QWidget *parent)
    : QToolButton(parent)
{
    initializeBatchIcons();
    setObjectName(u"batchStatus"_s);
    setAutoRaise(true);
    setIcon(QIcon(u":/icons/app/batch.svg"_s));
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setToolTip(tr("Batch jobs — click to view"));
    setAccessibleName(tr("Batch jobs"));
    m_timer.setSingleShot(true);
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &BatchStatusWidget::updateDisplay);
}

void BatchStatusWidget::setQueue(BatchQueue *queue)
{
    if (m_queue)
        disconnect(m_queue, nullptr, this, nullptr);
    m_queue = queue;
    const auto soon = [this] {
        if (!m_timer.isActive())
            m_timer.start();
    };
    if (queue) {
        connect(queue, &BatchQueue::jobSubmitted, this, soon);
        connect(queue, &BatchQueue::jobRemoved, this, soon);
        connect(queue, &BatchQueue::jobChanged, this, soon);
        connect(queue, &BatchQueue::jobProgressChanged, this, soon);
        connect(queue, &BatchQueue::cleared, this, soon);
    }
    updateDisplay();
}

void BatchStatusWidget::updateDisplay()
{
    if (!m_queue) {
        setText({});
        setToolTip(tr("Batch queue not available."));
        return;
    }
    const QList<BatchJob> active = m_queue->jobs(
        {.statuses = {BatchStatus::Pending, BatchStatus::InProgress, BatchStatus::Hung}});
    if (active.isEmpty()) {
        setText(tr("Idle"));
        setToolTip(tr("Batch: idle — no active jobs.\nClick to view batch jobs."));
        return;
    }
    const BatchJob &current = active.at(currentAmong(active));
    setText(current.status == BatchStatus::InProgress ? progressText(m_queue->progress(current.id))
                                                      : QString());
    setToolTip(describe(active, current));
}

QString BatchStatusWidget::describe(const QList<BatchJob> &active, const BatchJob &current) const
{
    QString text = tr("Batch: %1 active job(s)\n").arg(active.size());
    text += tr("Current: %1\n").arg(current.label.isEmpty() ? current.type : current.label);
    text += tr("Status: %1\n").arg(batchStatusToString(current.status));
    const auto progress = m_queue->progress(current.id);
    if (progress.second > 0)
        text += tr("Progress: %1 of %2 (%3%)\n")
                    .arg(QString::number(progress.first), QString::number(progress.second),
                         QString::number(progressPercent(progress)));
    else if (progress.first > 0)
        text += tr("Progress: %1 done\n").arg(progress.first);
    const auto place =
        std::find_if(active.cbegin(), active.cend(),
                     [&current](const BatchJob &job) { return job.id == current.id; });
    text += tr("Queue position: %1 of %2\n")
                .arg(QString::number(place - active.cbegin() + 1), QString::number(active.size()));
    return text + tr("Click to view batch jobs.");
}

} // namespace batch
