#include <batch_widgets/BatchJobListModel.h>

#include <chrono>

using namespace Qt::StringLiterals;

namespace batch {

namespace {

constexpr std::chrono::seconds clockStep{1};

} // namespace

BatchJobListModel::BatchJobListModel(BatchQueue *queue, QObject *parent)
    : QAbstractTableModel(parent)
    , m_queue(queue)
{
    for (QTimer *timer : {&m_rebuildTimer, &m_flushTimer}) {
        timer->setSingleShot(true);
        timer->setInterval(0);
    }
    connect(&m_rebuildTimer, &QTimer::timeout, this, &BatchJobListModel::rebuild);
    connect(&m_flushTimer, &QTimer::timeout, this, &BatchJobListModel::flushDirtyRows);
    connect(&m_clockTimer, &QTimer::timeout, this, &BatchJobListModel::tickElapsed);
    connect(queue, &BatchQueue::jobSubmitted, this, &BatchJobListModel::scheduleRebuild);
    connect(queue, &BatchQueue::jobRemoved, this, &BatchJobListModel::scheduleRebuild);
    connect(queue, &BatchQueue::cleared, this, &BatchJobListModel::scheduleRebuild);
    connect(queue, &BatchQueue::jobChanged, this, &BatchJobListModel::markDirty);
    connect(queue, &BatchQueue::jobProgressChanged, this, &BatchJobListModel::markDirty);
    rebuild();
}

void BatchJobListModel::setFilter(const BatchJobFilter &filter)
{
    m_filter = filter;
    rebuild();
}

quint64 BatchJobListModel::idAt(int row) const
{
    return m_visibleIds.value(row);
}

int BatchJobListModel::rowOf(quint64 id) const
{
    return m_rows.value(id, -1);
}

int BatchJobListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_visibleIds.size());
}

int BatchJobListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : jobColumnCount;
}

QVariant BatchJobListModel::data(const QModelIndex &index, int role) const
{
    const auto job = m_jobs.constFind(idAt(index.row()));
    if (!index.isValid() || job == m_jobs.constEnd())
        return {};
    const auto column = JobColumn(index.column());
    const auto progress = m_queue ? m_queue->progress(job->id) : BatchQueue::Progress{};
    switch (role) {
    case Qt::DisplayRole:
        return jobCellText(*job, progress, column, QDateTime::currentDateTimeUtc());
    case Qt::ToolTipRole:
        return jobCellToolTip(*job, column);
    case JobIdRole:
        return job->id;
    case StatusRole:
        return int(job->status);
    case PercentRole:
        return progress.second > 0 ? progressPercent(progress) : -1;
    default:
        return {};
    }
}

QVariant BatchJobListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= jobColumnCount)
        return {};
    return jobColumnTitle(JobColumn(section));
}

void BatchJobListModel::scheduleRebuild()
{
    m_rebuildTimer.start();
}

void BatchJobListModel::rebuild()
{
    m_rebuildTimer.stop();
    m_flushTimer.stop();
    beginResetModel();
    m_dirtyIds.clear();
    m_visibleIds.clear();
    m_jobs.clear();
    const QList<BatchJob> jobs = m_queue ? m_queue->jobs(m_filter) : QList<BatchJob>();
    for (const BatchJob &job : jobs) {
        m_visibleIds.append(job.id);
        m_jobs.insert(job.id, job);
    }
    sortVisibleIds();
    endResetModel();
    tickElapsed();
}

void BatchJobListModel::markDirty(quint64 id)
{
    m_dirtyIds.insert(id);
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

bool BatchJobListModel::reread(quint64 id)
{
    const auto kept = m_jobs.find(id);
    const auto job = m_queue && kept != m_jobs.end() ? m_queue->job(id) : std::nullopt;
    if (!job)
        return false;
    const bool isMoved = jobRank(job->status) != jobRank(kept->status);
    *kept = *job;
    return isMoved;
}

void BatchJobListModel::flushDirtyRows()
{
    const QSet<quint64> dirty = std::exchange(m_dirtyIds, {});
    bool isMoved = false;
    for (const quint64 id : dirty)
        isMoved = reread(id) || isMoved;
    if (isMoved)
        resortRows();
    for (const quint64 id : dirty) {
        if (const int row = rowOf(id); row >= 0)
            emit dataChanged(index(row, 0), index(row, jobColumnCount - 1));
    }
    tickElapsed();
}

void BatchJobListModel::sortVisibleIds()
{
    std::stable_sort(m_visibleIds.begin(), m_visibleIds.end(), [this](quint64 a, quint64 b) {
        const BatchJob &first = *m_jobs.constFind(a);
        const BatchJob &second = *m_jobs.constFind(b);
        const int firstRank = jobRank(first.status);
        const int secondRank = jobRank(second.status);
        return firstRank != secondRank ? firstRank < secondRank
                                       : first.updatedAt > second.updatedAt;
    });
    indexRows();
}

void BatchJobListModel::indexRows()
{
    m_rows.clear();
    for (int row = 0; row < m_visibleIds.size(); ++row)
        m_rows.insert(m_visibleIds.at(row), row);
}

// Selections follow: what a persistent index points to is a job, not a row.
void BatchJobListModel::resortRows()
{
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QList<quint64> ids;
    for (const QModelIndex &old : before)
        ids.append(idAt(old.row()));
    sortVisibleIds();
    QModelIndexList after;
    for (qsizetype i = 0; i < before.size(); ++i)
        after.append(index(rowOf(ids.at(i)), before.at(i).column()));
    changePersistentIndexList(before, after);
    emit layoutChanged({}, VerticalSortHint);
}

// Only while a job runs is there a time that passes.
void BatchJobListModel::tickElapsed()
{
    const int column = int(JobColumn::Elapsed);
    bool isRunning = false;
    for (int row = 0; row < m_visibleIds.size(); ++row) {
        const BatchStatus status = m_jobs.constFind(idAt(row))->status;
        if (status != BatchStatus::InProgress && status != BatchStatus::Hung)
            break; // these stand on top
        isRunning = true;
        emit dataChanged(index(row, column), index(row, column), {Qt::DisplayRole});
    }
    if (isRunning && !m_clockTimer.isActive())
        m_clockTimer.start(clockStep);
    else if (!isRunning)
        m_clockTimer.stop();
}

} // namespace batch
