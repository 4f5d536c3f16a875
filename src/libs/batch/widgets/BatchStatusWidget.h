#pragma once

#include <batch/BatchQueue.h>

#include <QPointer>
#include <QTimer>
#include <QToolButton>

namespace batch {

/// How the queue fares, in the toolbar: idle, or how far the running job is. A click is for opening
/// the list.
class BatchStatusWidget : public QToolButton
{
    Q_OBJECT

public:
    explicit BatchStatusWidget(QWidget *parent = nullptr);

    /// Not owned; null for none. Its changes are shown in the next turn of the event loop.
    void setQueue(BatchQueue *queue);

public slots:
    void updateDisplay();

private:
    QString describe(const QList<BatchJob> &active, const BatchJob &current) const;

    QPointer<BatchQueue> m_queue;
    QTimer m_timer{this};
};

} // namespace batch
