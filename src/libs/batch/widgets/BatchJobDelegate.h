#pragma once

#include <batch/BatchStatus.h>

#include <QColor>
#include <QStyledItemDelegate>

namespace batch {

/// Paints the progress of a job as a bar with its text, and a sign of its state beside the word.
class BatchJobDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// The colour of the sign: green for what went well, red for what did not, amber for what
    /// hangs.
    static QColor statusColor(BatchStatus status, const QPalette &palette);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    void paintProgress(QPainter *painter, const QStyleOptionViewItem &option,
                       const QModelIndex &index) const;
    void paintStatus(QPainter *painter, const QStyleOptionViewItem &option,
                     const QModelIndex &index) const;
};

} // namespace batch
