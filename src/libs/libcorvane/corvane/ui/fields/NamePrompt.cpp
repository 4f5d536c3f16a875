#include <corvane/ui/fields/NamePrompt.h>

#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>

#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

NamePrompt::NamePrompt(const QString &question, const QString &suggestion, const Take &take,
                       QWidget *below)
    : QFrame(below, Qt::Popup)
    , m_take(take)
    , m_edit(new QLineEdit(suggestion, this))
    , m_error(new QLabel(this))
{
    setObjectName(u"namePrompt"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    auto *const column = new QVBoxLayout(this);
    auto *const label = new QLabel(question, this);
    label->setBuddy(m_edit);
    m_edit->setAccessibleName(question);
    m_edit->selectAll();
    m_error->setWordWrap(true);
    m_error->setObjectName(u"promptError"_s);
    m_error->hide();
    QPalette red = m_error->palette();
    red.setColor(QPalette::WindowText, SemanticPalette::current().error);
    m_error->setPalette(red);
    column->addWidget(label);
    column->addWidget(m_edit);
    column->addWidget(m_error);
    setFixedWidth(qMax(below->width(), 2 * Metrics::labelWidth));
    move(below->mapToGlobal(QPoint(0, below->height())));
    connect(m_edit, &QLineEdit::returnPressed, this, &NamePrompt::submit);
}

void NamePrompt::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    m_edit->setFocus(Qt::PopupFocusReason);
}

void NamePrompt::submit()
{
    const QString error = m_take(m_edit->text().trimmed());
    if (error.isEmpty()) {
        close();
        return;
    }
    m_error->setText(error);
    m_error->show();
    adjustSize();
}

} // namespace corvane::ui
