#include "NoticeStack.h"

#include "NoticeWidget.h"

#include <QVBoxLayout>

namespace toast {

NoticeStack::NoticeStack(QWidget *parent)
    : QWidget(parent)
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    hide();
}

void NoticeStack::setNotice(Severity severity, const QString &title, const QString &body)
{
    if (!m_card) {
        m_card = new NoticeWidget(0, this);
        connect(m_card, &NoticeWidget::dismissRequested, this, &NoticeStack::clear);
        layout()->addWidget(m_card);
    }
    m_card->build({.severity = severity, .title = title, .body = body});
    show();
}

void NoticeStack::clear()
{
    if (!m_card)
        return;
    m_card->hide();
    m_card->deleteLater(); // its own button may have called
    m_card = nullptr;
    hide();
}

} // namespace toast
