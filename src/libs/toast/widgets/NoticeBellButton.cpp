#include "NoticeBellButton.h"

#include <QPainter>

using namespace Qt::StringLiterals;

// Out of any namespace, as the macro demands.
static void initializeToastIcons()
{
    Q_INIT_RESOURCE(toast_icons);
}

namespace toast {

NoticeBellButton::NoticeBellButton(ToastManager *manager, QWidget *parent)
    : QToolButton(parent)
    , m_manager(manager)
{
    initializeToastIcons();
    setObjectName(u"noticeBell"_s);
    setCheckable(true);
    setIcon(QIcon(u":/icons/general/notification.svg"_s));
    setToolTip(tr("Notifications"));
    setChecked(manager->isHistoryOpen());
    connect(this, &QToolButton::toggled, manager, &ToastManager::setHistoryOpen);
    connect(manager, &ToastManager::historyOpenChanged, this, &QToolButton::setChecked);
    connect(manager, &ToastManager::historyChanged, this, &NoticeBellButton::refresh);
    refresh();
}

void NoticeBellButton::refresh()
{
    const qsizetype count = m_manager->undismissedCount();
    m_badge = count == 0 ? QString() : count > 99 ? u"99+"_s : QString::number(count);
    update();
}

void NoticeBellButton::paintEvent(QPaintEvent *event)
{
    QToolButton::paintEvent(event);
    if (m_badge.isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont small = font();
    small.setPixelSize(qMax(8, height() / 3));
    small.setBold(true);
    painter.setFont(small);
    const QFontMetrics metrics(small);
    const int high = metrics.height();
    const int wide = qMax(high, metrics.horizontalAdvance(m_badge) + high / 2);
    const QRect spot(width() - wide, 0, wide, high);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(borderColor(Severity::Error)));
    painter.drawRoundedRect(spot, high / 2.0, high / 2.0);
    painter.setPen(Qt::white);
    painter.drawText(spot, Qt::AlignCenter, m_badge);
}

} // namespace toast
