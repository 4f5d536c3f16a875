#include <batch_widgets/BatchJobDelegate.h>

#include <batch_widgets/BatchJobListModel.h>

#include <QApplication>
#include <QPainter>

namespace batch {

namespace {

constexpr int signSize = 10;
constexpr int gap = 4;
constexpr qreal stroke = 1.8;

using Sign = void (*)(QPainter &, const QRectF &);

void drawRing(QPainter &painter, const QRectF &box)
{
    painter.drawEllipse(box);
}

void drawTriangle(QPainter &painter, const QRectF &box) // "play"
{
    painter.setBrush(painter.pen().color());
    painter.drawPolygon(
        QPolygonF{box.topLeft(), QPointF(box.right(), box.center().y()), box.bottomLeft()});
}

void drawTick(QPainter &painter, const QRectF &box)
{
    painter.drawPolyline(QPolygonF{QPointF(box.left(), box.center().y()),
                                   QPointF(box.left() + box.width() * 0.38, box.bottom()),
                                   box.topRight()});
}

void drawCross(QPainter &painter, const QRectF &box)
{
    painter.drawLine(box.topLeft(), box.bottomRight());
    painter.drawLine(box.topRight(), box.bottomLeft());
}

void drawBars(QPainter &painter, const QRectF &box) // "pause"
{
    for (const qreal part : {0.25, 0.75}) {
        const qreal x = box.left() + box.width() * part;
        painter.drawLine(QPointF(x, box.top()), QPointF(x, box.bottom()));
    }
}

void drawSlash(QPainter &painter, const QRectF &box)
{
    painter.drawEllipse(box);
    painter.drawLine(box.bottomLeft() + QPointF(2, -2), box.topRight() + QPointF(-2, 2));
}

Sign signOf(BatchStatus status)
{
    switch (status) {
    case BatchStatus::Pending:
        return &drawRing;
    case BatchStatus::InProgress:
        return &drawTriangle;
    case BatchStatus::Hung:
        return &drawBars;
    case BatchStatus::Done:
        return &drawTick;
    case BatchStatus::Failed:
        return &drawCross;
    case BatchStatus::Stopped:
    case BatchStatus::Cancelled:
        return &drawSlash;
    }
    return &drawRing;
}

/// The background of a cell, as the style draws it: selection and hover.
void drawBackground(QPainter *painter, const QStyleOptionViewItem &option)
{
    const QStyle *const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
}

} // namespace

QColor BatchJobDelegate::statusColor(BatchStatus status, const QPalette &palette)
{
    switch (status) {
    case BatchStatus::InProgress:
        return palette.color(QPalette::Link);
    case BatchStatus::Hung:
        return QColor(0xf5, 0xa6, 0x23);
    case BatchStatus::Done:
        return QColor(0x30, 0xa4, 0x6c);
    case BatchStatus::Failed:
        return QColor(0xe5, 0x48, 0x4d);
    case BatchStatus::Pending:
    case BatchStatus::Stopped:
    case BatchStatus::Cancelled:
        break;
    }
    return palette.color(QPalette::PlaceholderText);
}

void BatchJobDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const
{
    const auto column = JobColumn(index.column());
    if (column == JobColumn::Status)
        paintStatus(painter, option, index);
    else if (column == JobColumn::Progress &&
             index.data(BatchJobListModel::PercentRole).toInt() >= 0)
        paintProgress(painter, option, index);
    else
        QStyledItemDelegate::paint(painter, option, index);
}

void BatchJobDelegate::paintProgress(QPainter *painter, const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    drawBackground(painter, cell);
    QStyleOptionProgressBar bar;
    bar.initFrom(option.widget ? option.widget : QApplication::activeWindow());
    bar.rect = option.rect.adjusted(gap, gap, -gap, -gap);
    bar.palette = option.palette;
    bar.maximum = 100;
    bar.progress = index.data(BatchJobListModel::PercentRole).toInt();
    const QStyle *const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ProgressBarGroove, &bar, painter, option.widget);
    style->drawControl(QStyle::CE_ProgressBarContents, &bar, painter, option.widget);
    // On the bar as beside it: the text is drawn twice, each within its part.
    const QRect done =
        bar.rect.adjusted(0, 0, -bar.rect.width() * (100 - qBound(0, bar.progress, 100)) / 100, 0);
    const auto drawText = [&](const QRect &clip, QPalette::ColorRole role) {
        painter->save();
        painter->setClipRect(clip);
        painter->setPen(option.palette.color(role));
        painter->drawText(bar.rect, Qt::AlignCenter, cell.text);
        painter->restore();
    };
    drawText(done, QPalette::HighlightedText);
    drawText(bar.rect.adjusted(done.width(), 0, 0, 0), QPalette::Text);
}

void BatchJobDelegate::paintStatus(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    drawBackground(painter, cell);
    const auto status = BatchStatus(index.data(BatchJobListModel::StatusRole).toInt());
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor text =
        option.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text);
    painter->setPen(QPen(isSelected ? text : statusColor(status, option.palette), stroke));
    signOf(status)(*painter,
                   QRectF(option.rect.left() + gap, option.rect.center().y() - signSize / 2 + 1,
                          signSize, signSize));
    painter->setPen(text);
    const QRect words = option.rect.adjusted(signSize + 3 * gap, 0, 0, 0);
    painter->drawText(words, Qt::AlignVCenter | Qt::AlignLeft, cell.text);
    painter->restore();
}

} // namespace batch
