#pragma once

#include <corvane/input/NavigationPreset.h>
#include <corvane/input/ViewportInteraction.h>

#include <QObject>
#include <QSet>
#include <QVector3D>

class QEvent;
class QHoverEvent;
class QKeyEvent;
class QMouseEvent;
class QNativeGestureEvent;
class QWheelEvent;

namespace corvane::input {

/// Turns the events of a viewport into gestures, by the navigation preset. Positions and amounts
/// are in logical pixels, y down. Stands on no widget: whoever has the events hands them in.
///
/// A dolly amount of 0.7 halves the distance (see Camera::dolly); it is meant for what lies under
/// currentPosition(). Held arrow keys move the camera: left, right, forward and back, with Page Up
/// and Page Down up and down; Home asks for the whole scene. When the viewport loses the focus all
/// keys count as released.
class InputHandler : public QObject
{
    Q_OBJECT

public:
    explicit InputHandler(QObject *parent = nullptr);

    /// The id of a navigation preset; an unknown one is the first.
    void setNavigationPreset(QLatin1String id);
    [[nodiscard]] const NavigationPreset &preset() const { return *m_preset; }

    /// True when the event was one for the viewport: it goes no further then.
    bool handle(QEvent *event);
    /// Once a frame: tells of the keys that are held.
    void processInput();
    [[nodiscard]] bool hasHeldKeys() const { return !m_heldKeys.isEmpty(); }

    [[nodiscard]] const ViewportInteraction &interaction() const { return m_interaction; }
    [[nodiscard]] QPointF currentPosition() const { return m_interaction.currentPosition; }
    [[nodiscard]] HoverIntent hoverIntent() const;

signals:
    /// A drag that moves the camera is about to: the pivot is what lies there.
    void navigationBegins(const QPointF &position);
    void navigationEnds();
    void orbitTriggered(const QPointF &delta);
    void panTriggered(const QPointF &delta);
    void rotateTriggered(const QPointF &delta); ///< looks around
    void dollyTriggered(double amount);
    void selectTriggered(const QPointF &position);
    void toggleSelectionTriggered(const QPointF &position);
    void multiSelectTriggered(const QRectF &rect);
    void selectionRectChanged(const QRectF &rect); ///< of a drag; null when it is over
    void menuTriggered(const QPointF &position);
    void hoverChanged(const corvane::input::HoverIntent &intent);
    void keyMovementTriggered(const QVector3D &direction); ///< x right, y up, z forward
    void resetViewTriggered();

private:
    bool press(const QMouseEvent &event);
    bool move(const QPointF &position);
    bool release(const QMouseEvent &event);
    bool leave();
    bool wheel(const QWheelEvent &event);
    bool gesture(const QNativeGestureEvent &event);
    bool keyPress(const QKeyEvent &event);
    bool keyRelease(const QKeyEvent &event);
    void apply(const ViewportEvent &event);
    void react(InteractionResult result);
    void click();
    void drag(NavigationAction action, const QPointF &delta);
    void updateHover();

    const NavigationPreset *m_preset;
    ViewportInteraction m_interaction;
    ButtonBinding m_pressed;
    QPointF m_lastDragPosition;
    HoverIntent m_hover;
    QSet<int> m_heldKeys;
};

} // namespace corvane::input
