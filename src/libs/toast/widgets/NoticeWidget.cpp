#include "NoticeWidget.h"

#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace toast {

namespace {

constexpr int leavingMs = 180;

QLabel *plainLabel(const QString &name, QWidget *parent)
{
    auto *const label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QPropertyAnimation *animation(QObject *target, const QByteArray &property, const QVariant &from,
                              const QVariant &to)
{
    auto *const made = new QPropertyAnimation(target, property);
    made->setDuration(leavingMs);
    made->setEasingCurve(QEasingCurve::InOutQuad);
    made->setStartValue(from);
    made->setEndValue(to);
    return made;
}

} // namespace

NoticeWidget::NoticeWidget(quint64 id, QWidget *parent)
    : QFrame(parent)
    , m_id(id)
    , m_title(plainLabel(u"noticeTitle"_s, this))
    , m_count(plainLabel(u"noticeCount"_s, this))
    , m_body(plainLabel(u"noticeBody"_s, this))
    , m_actions(new QWidget(this))
{
    setObjectName(u"noticeCard"_s);
    auto *const dismiss = new QToolButton(this);
    dismiss->setObjectName(u"noticeDismiss"_s);
    dismiss->setText(u"×"_s);
    dismiss->setAutoRaise(true);
    dismiss->setToolTip(tr("Dismiss"));
    connect(dismiss, &QToolButton::clicked, this, [this] { emit dismissRequested(m_id); });
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_count->hide();

    auto *const head = new QHBoxLayout;
    head->addWidget(m_title, 1);
    head->addWidget(m_count);
    head->addWidget(dismiss);
    m_actionRow = new QHBoxLayout(m_actions);
    m_actionRow->setContentsMargins({});
    auto *const column = new QVBoxLayout(this);
    column->addLayout(head);
    column->addWidget(m_body);
    column->addWidget(m_actions);
}

void NoticeWidget::build(const ToastSpec &spec)
{
    m_severity = spec.severity;
    m_title->setText(spec.title);
    m_body->setText(spec.body);
    m_body->setVisible(!spec.body.isEmpty());
    rebuildActions(spec.actions);
    setStyleSheet(uR"(#noticeCard {
    background: palette(window);
    border: 1px solid palette(mid);
    border-left: 4px solid %1;
    border-radius: 4px;
})"_s.arg(borderColor(spec.severity)));
}

void NoticeWidget::rebuildActions(const QList<ToastAction> &actions)
{
    qDeleteAll(m_actions->findChildren<QPushButton *>());
    for (const ToastAction &action : actions) {
        auto *const button = new QPushButton(action.label, m_actions);
        connect(button, &QPushButton::clicked, this,
                [this, action] { emit actionTriggered(action); });
        m_actionRow->addWidget(button);
    }
    m_actions->setVisible(!actions.isEmpty());
}

void NoticeWidget::setCount(int count)
{
    m_count->setText(u"×%1"_s.arg(count));
    m_count->setVisible(count > 1);
}

void NoticeWidget::animateOut()
{
    if (m_leaving)
        return;
    auto *const fading = new QGraphicsOpacityEffect(this);
    setGraphicsEffect(fading);
    m_leaving = new QParallelAnimationGroup(this);
    m_leaving->addAnimation(animation(this, "maximumHeight", height(), 0));
    m_leaving->addAnimation(animation(fading, "opacity", 1.0, 0.0));
    connect(m_leaving, &QParallelAnimationGroup::finished, this, [this] { emit closed(m_id); });
    m_leaving->start();
}

void NoticeWidget::enterEvent(QEnterEvent *event)
{
    QFrame::enterEvent(event);
    emit hovered(true);
}

void NoticeWidget::leaveEvent(QEvent *event)
{
    QFrame::leaveEvent(event);
    emit hovered(false);
}

void NoticeWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QFrame::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit bodyClicked(m_id);
}

} // namespace toast
