#pragma once

#include <batch/BatchQueue.h>

#include <QSet>
#include <QWidget>

class QComboBox;
class QPushButton;
class QTableView;

namespace batch {

class BatchJobListModel;

/// The jobs of a queue, with what can be done about them. Selections are kept by job, whatever
/// comes and goes.
class BatchJobListWidget : public QWidget
{
    Q_OBJECT

public:
    /// @param queue  outlives the widget
    explicit BatchJobListWidget(BatchQueue *queue, QWidget *parent = nullptr);

    QSet<quint64> selectedJobs() const;

public slots:
    void onRetry();       ///< of the selected jobs, those that failed or hang
    void onCancel();      ///< of the selected jobs, those that are not over
    void onRetryFailed(); ///< all that failed
    void onClearDone();
    void onClearAll();
    void saveSelection();
    void restoreSelection();

signals:
    void jobSelected(quint64 id);
    void jobDoubleClicked(quint64 id);

private:
    void setUpTable();
    QWidget *makeOriginRow();
    QWidget *makeButtonRow();
    void connectTable();
    void setOrigin(int row);
    void updateButtons();
    bool isAnySelected(bool (*fits)(BatchStatus)) const;

    BatchQueue *const m_queue;
    BatchJobListModel *m_model = nullptr;
    QTableView *m_table = nullptr;
    QComboBox *m_origin = nullptr;
    QPushButton *m_retry = nullptr;
    QPushButton *m_cancel = nullptr;
    QSet<quint64> m_savedSelection;
    quint64 m_savedCurrent = 0;
};

} // namespace batch
