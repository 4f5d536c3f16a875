#include <corvane/input/InputHandler.h>

#include <QEvent>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>

#include <cmath>
#include <iterator>

namespace corvane::input {

namespace {

using Type = ViewportEvent::Type;

constexpr double dollyPerPixel = 0.01;
constexpr double dollyPerWheelStep = 0.15; ///< 15 degrees of a wheel; trackpads send parts of it
constexpr double wheelStep = 120.0;
constexpr double pixelsPerWheelStep = 40.0; ///< of a wheel that pans

struct KeyMove
{
    int key;
    QVector3D direction;
};

constexpr KeyMove keyMoves[] = {
    {Qt::Key_Left, {-1, 0, 0}}, {Qt::Key_Right, {1, 0, 0}},  {Qt::Key_Up, {0, 0, 1}},
    {Qt::Key_Down, {0, 0, -1}}, {Qt::Key_PageUp, {0, 1, 0}}, {Qt::Key_PageDown, {0, -1, 0}},
};

bool movesCamera(int key)
{
    return std::any_of(std::begin(keyMoves), std::end(keyMoves),
                       [key](const KeyMove &move) { return move.key == key; });
}

bool isNavigation(NavigationAction action)
{
    switch (action) {
    case NavigationAction::Orbit:
    case NavigationAction::Pan:
    case NavigationAction::LookAround:
    case NavigationAction::Dolly:
        return true;
    case NavigationAction::None:
    case NavigationAction::SelectionBox:
        break;
    }
    return false;
}

QPointF scrolledPixels(const QWheelEvent &event)
{
    if (!event.pixelDelta().isNull())
        return event.pixelDelta();
    return QPointF(event.angleDelta()) * (pixelsPerWheelStep / wheelStep);
}

} // namespace

InputHandler::InputHandler(QObject *parent)
    : QObject(parent)
    , m_preset(&navigationPresets().constFirst())
{}

void InputHandler::setNavigationPreset(QLatin1String id)
{
    m_preset = &navigationPreset(id);
}

bool InputHandler::handle(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: // the second press of two
        return press(*static_cast<QMouseEvent *>(event));
    case QEvent::MouseMove:
        return move(static_cast<QMouseEvent *>(event)->position());
    case QEvent::MouseButtonRelease:
        return release(*static_cast<QMouseEvent *>(event));
    case QEvent::Enter:
        apply({.type = Type::Enter, .position = static_cast<QEnterEvent *>(event)->position()});
        return false;
    case QEvent::Leave:
        return leave();
    case QEvent::Wheel:
        return wheel(*static_cast<QWheelEvent *>(event));
    case QEvent::NativeGesture:
        return gesture(*static_cast<QNativeGestureEvent *>(event));
    case QEvent::KeyPress:
        return keyPress(*static_cast<QKeyEvent *>(event));
    case QEvent::KeyRelease:
        return keyRelease(*static_cast<QKeyEvent *>(event));
    case QEvent::FocusOut:
    case QEvent::WindowDeactivate:
        m_heldKeys.clear();
        return false;
    default:
        return false;
    }
}

void InputHandler::processInput()
{
    QVector3D direction;
    for (const KeyMove &move : keyMoves)
        if (m_heldKeys.contains(move.key))
            direction += move.direction;
    if (!direction.isNull())
        emit keyMovementTriggered(direction.normalized());
}

HoverIntent InputHandler::hoverIntent() const
{
    if (m_interaction.state != InteractionState::Hovering)
        return {};
    return {true, m_interaction.currentPosition};
}

bool InputHandler::press(const QMouseEvent &event)
{
    // A press is proof that the pointer is here, whether or not somebody told so before.
    if (m_interaction.state == InteractionState::Outside)
        apply({.type = Type::Enter, .position = event.position()});
    if (m_interaction.state != InteractionState::Hovering)
        return true;
    m_pressed = m_preset->binding(event.button(), event.modifiers());
    apply({.type = Type::Press,
           .position = event.position(),
           .buttons = event.button(),
           .modifiers = event.modifiers(),
           .panButton = m_pressed.drag == NavigationAction::Pan,
           .orbitButton = isNavigation(m_pressed.drag) && m_pressed.drag != NavigationAction::Pan});
    return true;
}

bool InputHandler::move(const QPointF &position)
{
    if (m_interaction.state == InteractionState::Outside)
        apply({.type = Type::Enter, .position = position});
    apply({.type = Type::Move, .position = position});
    switch (m_interaction.state) {
    case InteractionState::Panning:
    case InteractionState::Orbiting:
        drag(m_pressed.drag, position - m_lastDragPosition);
        break;
    case InteractionState::Dragging:
        if (m_pressed.drag == NavigationAction::SelectionBox)
            emit selectionRectChanged(m_interaction.selectionRect());
        break;
    case InteractionState::Outside:
    case InteractionState::Hovering:
    case InteractionState::Pressed:
        break;
    }
    m_lastDragPosition = position;
    return true;
}

bool InputHandler::release(const QMouseEvent &event)
{
    apply({.type = Type::Release, .position = event.position(), .buttons = event.button()});
    return true;
}

bool InputHandler::leave()
{
    apply({.type = Type::Leave});
    return false;
}

bool InputHandler::wheel(const QWheelEvent &event)
{
    if (m_interaction.state == InteractionState::Hovering)
        m_interaction.currentPosition = event.position();
    // Alt exchanges the axes of a wheel on the way here.
    const bool exchanged = event.modifiers() & Qt::AltModifier && event.angleDelta().y() == 0;
    const QPointF pixels = scrolledPixels(event);
    const NavigationAction action = m_preset->scroll(event.modifiers());
    if (action == NavigationAction::Dolly) {
        const int angle = exchanged ? event.angleDelta().x() : event.angleDelta().y();
        if (angle != 0)
            emit dollyTriggered(angle / wheelStep * dollyPerWheelStep);
    } else {
        drag(action, pixels);
    }
    return action != NavigationAction::None;
}

bool InputHandler::gesture(const QNativeGestureEvent &event)
{
    if (event.gestureType() != Qt::ZoomNativeGesture)
        return false;
    // 0.1 is a tenth larger; fingers that close altogether send -1.
    emit dollyTriggered(std::log(std::max(1.0 + event.value(), 0.1)));
    return true;
}

bool InputHandler::keyPress(const QKeyEvent &event)
{
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier))
        return false; // a shortcut of the window
    if (event.key() == Qt::Key_Home) {
        emit resetViewTriggered();
        return true;
    }
    if (!movesCamera(event.key()))
        return false;
    m_heldKeys.insert(event.key());
    return true;
}

bool InputHandler::keyRelease(const QKeyEvent &event)
{
    if (!event.isAutoRepeat())
        m_heldKeys.remove(event.key());
    return movesCamera(event.key());
}

void InputHandler::apply(const ViewportEvent &event)
{
    react(applyEvent(m_interaction, event));
    updateHover();
}

void InputHandler::react(InteractionResult result)
{
    switch (result) {
    case InteractionResult::Click:
        click();
        break;
    case InteractionResult::PanBegins:
    case InteractionResult::OrbitBegins:
        // The drag starts where the button went down: what it grabbed stays under the cursor.
        m_lastDragPosition = m_interaction.pressPosition;
        emit navigationBegins(m_interaction.pressPosition);
        break;
    case InteractionResult::PanEnds:
    case InteractionResult::OrbitEnds:
        emit navigationEnds();
        break;
    case InteractionResult::SelectionDragEnds:
        if (m_pressed.drag == NavigationAction::SelectionBox) {
            emit selectionRectChanged({});
            emit multiSelectTriggered(m_interaction.selectionRect());
        }
        break;
    case InteractionResult::None:
    case InteractionResult::SelectionDragBegins: // the move that began it tells the box
    case InteractionResult::HoverBegins:
    case InteractionResult::HoverEnds: // both are told by hoverChanged()
        break;
    }
}

void InputHandler::click()
{
    const QPointF at = m_interaction.pressPosition;
    switch (m_pressed.click) {
    case ClickAction::Kind::Select:
        emit selectTriggered(at);
        break;
    case ClickAction::Kind::Toggle:
        emit toggleSelectionTriggered(at);
        break;
    case ClickAction::Kind::Menu:
        emit menuTriggered(at);
        break;
    case ClickAction::Kind::None:
        break;
    }
}

void InputHandler::drag(NavigationAction action, const QPointF &delta)
{
    if (delta.isNull())
        return;
    switch (action) {
    case NavigationAction::Orbit:
        emit orbitTriggered(delta);
        break;
    case NavigationAction::Pan:
        emit panTriggered(delta);
        break;
    case NavigationAction::LookAround:
        emit rotateTriggered(delta);
        break;
    case NavigationAction::Dolly:
        emit dollyTriggered(-delta.y() * dollyPerPixel);
        break;
    case NavigationAction::None:
    case NavigationAction::SelectionBox:
        break;
    }
}

void InputHandler::updateHover()
{
    const HoverIntent intent = hoverIntent();
    if (intent == m_hover)
        return;
    m_hover = intent;
    emit hoverChanged(intent);
}

} // namespace corvane::input
