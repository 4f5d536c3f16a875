#include <corvane/ui/fields/NumberField.h>

#include <corvane/ui/fields/CompletionPopup.h>
#include <corvane/ui/fields/NumberEdit.h>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int wheelStep = 120;

} // namespace

NumberField::NumberField(const NumberSpec &spec, FieldTarget *target, const ExpressionScope *scope,
                         QWidget *parent)
    : FieldWidget({spec.name, spec.description}, target, scope, parent)
    , m_controller(new NumberController(spec, target, scope, this))
    , m_edit(new NumberEdit(this))
{
    m_edit->setUnit(spec.unit);
    m_edit->setCursor(Qt::SizeHorCursor);
    m_edit->setFocusPolicy(Qt::TabFocus); // a press may be a drag: the release decides
    setEditor(m_edit);
    m_edit->installEventFilter(this);
    connect(m_edit, &QLineEdit::textEdited, this, [this] {
        m_edit->setModified(true);
        m_controller->clearError();
        if (m_completion)
            m_completion->offer(false);
    });
    connect(m_controller, &NumberController::changed, this, &NumberField::refresh);
    refresh();
}

QLineEdit *NumberField::lineEdit() const
{
    return m_edit;
}

QWidget *NumberField::editor() const
{
    return m_edit;
}

void NumberField::setLabel(QWidget *label)
{
    m_label = label;
    label->setCursor(Qt::SizeHorCursor);
    label->installEventFilter(this);
}

QString NumberField::copyText() const
{
    return m_controller->text();
}

expr::ExprType NumberField::type() const
{
    return m_controller->spec().isWhole ? expr::ExprType::Int : expr::ExprType::Float;
}

// What is being typed stays as it is, whatever the scene does meanwhile.
void NumberField::refresh()
{
    const FieldState state = m_controller->state();
    if (!m_edit->isModified()) {
        const int cursor = m_edit->cursorPosition();
        if (m_edit->text() != m_controller->text()) {
            m_edit->setText(m_controller->text());
            m_edit->setCursorPosition(m_edit->hasFocus() ? cursor : 0);
        }
    }
    m_edit->setPlaceholderText(state.isMixed ? tr("several") : QString());
    m_edit->setHint(state.isBound() && state.value.isValid()
                        ? u"= %1"_s.arg(numberText(state.value.toDouble()))
                        : QString());
    m_edit->setReadOnly(state.isReadOnly);
    const QString error = m_controller->error();
    m_edit->setFailure(error.isEmpty() ? -1 : qMax(0, m_controller->errorPosition()));
    setErrorText(error);
    FieldWidget::refresh();
}

void NumberField::commit()
{
    if (!m_controller->submit(m_edit->text()))
        return; // the text stays, to be put right
    m_edit->setModified(false);
    refresh();
}

void NumberField::revert()
{
    m_edit->setModified(false);
    m_controller->clearError();
    refresh();
}

bool NumberField::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        return watched == m_edit && handleKey(static_cast<QKeyEvent &>(*event));
    case QEvent::ShortcutOverride: // Escape and the arrows are ours while the field is edited
        if (watched == m_edit && m_edit->isModified()) {
            event->accept();
            return false;
        }
        return false;
    case QEvent::Wheel:
        return watched == m_edit && handleWheel(static_cast<QWheelEvent &>(*event));
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        return handleMouse(watched, static_cast<QMouseEvent &>(*event));
    case QEvent::FocusIn: // by now the field stands in its window, where the list is to lie
        if (watched == m_edit && !m_completion)
            m_completion = new CompletionPopup(m_edit, scope());
        return false;
    case QEvent::FocusOut:
        if (watched == m_edit) {
            cancelScrub();
            if (m_edit->isModified())
                commit();
        }
        return false;
    default:
        return FieldWidget::eventFilter(watched, event);
    }
}

bool NumberField::handleKey(QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        commit();
        m_edit->selectAll();
        return true;
    case Qt::Key_Escape:
        if (m_scrub == Scrub::None && !m_edit->isModified() && errorText().isEmpty())
            return false;
        cancelScrub();
        revert();
        m_edit->selectAll();
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (m_edit->isModified())
            commit();
        m_controller->step(event.key() == Qt::Key_Up ? 1 : -1,
                           NumberController::paceOf(event.modifiers()));
        return true;
    default:
        return false;
    }
}

// Without the keyboard the wheel scrolls the panel. Alt turns a wheel sideways.
bool NumberField::handleWheel(QWheelEvent &event)
{
    if (!m_edit->hasFocus()) {
        event.ignore();
        return true;
    }
    const QPoint angle = event.angleDelta();
    m_wheelRest += angle.y() != 0 ? angle.y() : angle.x();
    const int steps = m_wheelRest / wheelStep;
    m_wheelRest -= steps * wheelStep;
    m_controller->step(steps, NumberController::paceOf(event.modifiers()));
    event.accept();
    return true;
}

bool NumberField::handleMouse(QObject *watched, QMouseEvent &event)
{
    switch (event.type()) {
    case QEvent::MouseButtonPress:
        return pressMouse(watched, event);
    case QEvent::MouseMove:
        return moveMouse(event);
    default:
        return releaseMouse();
    }
}

// With the keyboard in it the field is text: a press sets the cursor there. The label always
// scrubs.
bool NumberField::pressMouse(QObject *watched, const QMouseEvent &event)
{
    const bool isText = watched == m_edit && m_edit->hasFocus();
    if (event.button() != Qt::LeftButton || isText)
        return false;
    m_scrub = Scrub::Pressed;
    m_pressedAt = event.globalPosition();
    return true;
}

bool NumberField::moveMouse(const QMouseEvent &event)
{
    if (m_scrub == Scrub::None)
        return false;
    const double moved = event.globalPosition().x() - m_pressedAt.x();
    if (m_scrub == Scrub::Pressed) {
        if (qAbs(moved) < QApplication::startDragDistance() / 2 || !m_controller->beginDrag())
            return true;
        m_scrub = Scrub::Dragging;
        m_edit->setFocus(Qt::MouseFocusReason); // so that Escape comes here
        m_edit->deselect();
    }
    m_controller->dragTo(moved, NumberController::paceOf(event.modifiers()));
    return true;
}

bool NumberField::releaseMouse()
{
    const Scrub ended = std::exchange(m_scrub, Scrub::None);
    if (ended == Scrub::None)
        return false;
    if (ended == Scrub::Dragging) {
        m_controller->endDrag();
    } else {
        m_edit->setFocus(Qt::MouseFocusReason);
        m_edit->selectAll();
    }
    return true;
}

void NumberField::cancelScrub()
{
    if (std::exchange(m_scrub, Scrub::None) == Scrub::Dragging)
        m_controller->cancelDrag();
}

} // namespace corvane::ui
