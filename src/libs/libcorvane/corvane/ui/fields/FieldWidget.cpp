#include <corvane/ui/fields/FieldWidget.h>

#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/Theme.h>

#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int dotSize = 4;
constexpr int dotRoom = 2 * Metrics::grid; ///< left of the editor

} // namespace

FieldWidget::FieldWidget(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
                         QWidget *parent)
    : QWidget(parent)
    , m_label(label)
    , m_target(target)
    , m_scope(scope)
    , m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins(dotRoom, 0, 0, 0);
    m_column->setSpacing(0);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setToolTip(label.description);
    if (target)
        connect(target, &FieldTarget::changed, this, &FieldWidget::refresh);
}

void FieldWidget::setEditor(QWidget *editor)
{
    m_column->insertWidget(0, editor);
    editor->setAccessibleName(m_label.name);
    editor->setAccessibleDescription(m_label.description);
    setFocusProxy(editor);
}

void FieldWidget::refresh()
{
    update(); // the dot
}

QString FieldWidget::errorText() const
{
    return m_error && !m_error->isHidden() ? m_error->text() : QString();
}

void FieldWidget::setErrorText(const QString &text)
{
    if (text.isEmpty()) {
        if (m_error)
            m_error->hide();
        return;
    }
    if (!m_error) {
        m_error = new QLabel(this);
        m_error->setObjectName(u"fieldError"_s);
        m_error->setTextFormat(Qt::PlainText);
        m_error->setWordWrap(true);
        m_error->setFont(applicationFont(TextSize::Small));
        m_column->addWidget(m_error);
    }
    QPalette red = m_error->palette();
    red.setColor(QPalette::WindowText, SemanticPalette::current().error);
    m_error->setPalette(red);
    m_error->setText(text);
    m_error->show();
}

void FieldWidget::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_menu)
        m_menu = new FieldMenu({.target = m_target,
                                .scope = m_scope,
                                .type = type(),
                                .suggestedName = m_label.name,
                                .copyText = [this] { return copyText(); },
                                .paste = [this](const QString &text) { return paste(text); }},
                               this);
    m_menu->make()->popup(event->globalPos());
    event->accept();
}

void FieldWidget::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    if (!m_target || !m_target->state().isChanged)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(SemanticPalette::current().accent);
    const int top = (Metrics::controlHeight - dotSize) / 2;
    painter.drawEllipse((dotRoom - dotSize) / 2, top, dotSize, dotSize);
}

} // namespace corvane::ui
