#include "ToastHostOverlay.h"

#include "NoticeWidget.h"

#include <QEvent>
#include <QVBoxLayout>

#include <chrono>

namespace toast {

namespace {

constexpr std::chrono::minutes expiryCheck{1};
constexpr int edge = 12;

} // namespace

ToastHostOverlay::ToastHostOverlay(QWidget *viewport, ToastManager *manager)
    : QWidget(viewport)
    , m_manager(manager)
    , m_inset(edge, edge, edge, edge)
    , m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins({});
    m_column->setAlignment(Qt::AlignTop);
    setAttribute(Qt::WA_NoSystemBackground);
    viewport->installEventFilter(this);
    connect(manager, &ToastManager::toastAdded, this, &ToastHostOverlay::show);
    connect(manager, &ToastManager::toastUpdated, this, &ToastHostOverlay::show);
    connect(manager, &ToastManager::toastRemoved, this, &ToastHostOverlay::leave);
    connect(&m_expiry, &QTimer::timeout, manager, &ToastManager::purgeExpired);
    m_expiry.start(expiryCheck);
    arrange();
}

ToastHostOverlay::~ToastHostOverlay() = default;

void ToastHostOverlay::setInset(const QMargins &inset)
{
    m_inset = inset;
    arrange();
}

NoticeWidget *ToastHostOverlay::card(quint64 id) const
{
    return m_shown.value(id).card;
}

int ToastHostOverlay::dwellMs(quint64 id) const
{
    const QTimer *const dwell = m_shown.value(id).dwell;
    return dwell && dwell->isActive() ? dwell->interval() : -1;
}

// A notice that came again after its card went gets a new card; one whose card is still there moves
// to the top.
void ToastHostOverlay::show(const ToastRecord &record)
{
    NoticeWidget *notice = card(record.id);
    if (!notice)
        notice = makeCard(record);
    notice->setCount(record.count);
    m_column->removeWidget(notice);
    m_column->insertWidget(0, notice);
    if (!notice->underMouse()) // it may come again while it is being read
        startDwell(record.id, record.severity);
    arrange();
}

NoticeWidget *ToastHostOverlay::makeCard(const ToastRecord &record)
{
    const quint64 id = record.id;
    auto *const notice = new NoticeWidget(id, this);
    auto *const dwell = new QTimer(notice);
    dwell->setSingleShot(true);
    notice->build(record.spec());
    m_shown.insert(id, {notice, dwell});
    connect(dwell, &QTimer::timeout, this, [this, id] { leave(id); });
    connect(notice, &NoticeWidget::dismissRequested, m_manager, &ToastManager::dismiss);
    connect(notice, &NoticeWidget::bodyClicked, m_manager,
            [this] { m_manager->setHistoryOpen(true); });
    connect(notice, &NoticeWidget::actionTriggered, this, [this, id](const ToastAction &action) {
        m_manager->dismiss(id);
        if (action.run)
            action.run();
    });
    connect(notice, &NoticeWidget::hovered, this, [this, id, dwell, notice](bool on) {
        if (on)
            dwell->stop();
        else if (card(id) == notice)
            startDwell(id, notice->severity());
    });
    return notice;
}

void ToastHostOverlay::startDwell(quint64 id, Severity severity)
{
    QTimer *const dwell = m_shown.value(id).dwell;
    if (const auto time = dwellTime(severity))
        dwell->start(*time);
    else
        dwell->stop();
}

// From here on the card is nobody's: the same notice may come again while it goes.
void ToastHostOverlay::leave(quint64 id)
{
    const Shown left = m_shown.take(id);
    if (!left.card)
        return;
    left.dwell->stop();
    connect(left.card, &NoticeWidget::closed, this, [this, card = left.card] {
        m_column->removeWidget(card);
        card->hide();
        card->deleteLater();
        arrange();
    });
    left.card->animateOut();
}

void ToastHostOverlay::arrange()
{
    for (int i = 0; i < m_column->count(); ++i)
        if (QWidget *const notice = m_column->itemAt(i)->widget())
            notice->setVisible(i < mostShown);
    const QRect room = parentWidget()->rect().marginsRemoved(m_inset);
    const int width = qBound(0, cardWidth, room.width());
    m_column->activate();
    const int wanted = m_column->hasHeightForWidth() ? m_column->totalHeightForWidth(width)
                                                     : m_column->sizeHint().height();
    const int height = m_column->isEmpty() ? 0 : qBound(0, wanted, room.height());
    setGeometry(room.right() + 1 - width, room.top(), width, height);
    setVisible(height > 0);
    raise();
}

bool ToastHostOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parent() && event->type() == QEvent::Resize)
        arrange();
    return QWidget::eventFilter(watched, event);
}

} // namespace toast
