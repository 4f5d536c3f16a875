#pragma once

#include <batch/BatchQueue.h>
#include <batch_widgets/JobText.h>

#include <QAbstractTableModel>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QTimer>

namespace batch {

/// The jobs of a queue as a table, live work on top.
///
/// Jobs that come or go make the model read the queue anew in the next turn of the event loop;
/// jobs that change only have their rows told of, and sorted again where their rank changed. A
/// hundred steps of progress in one turn are one repaint. Main thread; the queue may be filled from
/// any.
class BatchJobListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Role {
        JobIdRole = Qt::UserRole + 1, ///< quint64
        StatusRole,                   ///< batch::BatchStatus, as int
        PercentRole,                  ///< int; -1 where no total is known
    };

    /// @param queue  not owned
    explicit BatchJobListModel(BatchQueue *queue, QObject *parent = nullptr);

    const BatchJobFilter &filter() const { return m_filter; }
    void setFilter(const BatchJobFilter &filter); ///< read anew at once

    /// 0 for an invalid row.
    quint64 idAt(int row) const;
    int rowOf(quint64 id) const; ///< -1 where it is not shown

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

public slots:
    void scheduleRebuild();
    void rebuild();

private:
    void markDirty(quint64 id);
    void flushDirtyRows();
    /// Reads a row's job again. True when its rank is another one.
    bool reread(quint64 id);
    void sortVisibleIds();
    void indexRows();
    void resortRows();
    void tickElapsed();

    const QPointer<BatchQueue> m_queue;
    BatchJobFilter m_filter;
    QList<quint64> m_visibleIds; ///< in display order
    QHash<quint64, int> m_rows;
    QHash<quint64, BatchJob> m_jobs; ///< as they were read last
    QSet<quint64> m_dirtyIds;
    QTimer m_rebuildTimer{this};
    QTimer m_flushTimer{this};
    QTimer m_clockTimer{this}; ///< runs while a job does
};

} // namespace batch
