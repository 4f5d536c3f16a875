#pragma once

#include <QPointF>
#include <QRectF>
#include <Qt>

namespace corvane::input {

enum class InteractionState {
    Outside = 0,
    Hovering = 1,
    Pressed = 2,  ///< and not yet moved beyond the threshold
    Dragging = 3, ///< a selection box
    Panning = 4,
    Orbiting = 5,
};

/// What the caller of applyEvent() must do.
enum class InteractionResult {
    None = 0,
    Click = 1,
    SelectionDragBegins = 2,
    PanBegins = 3,
    OrbitBegins = 4,
    SelectionDragEnds = 5,
    PanEnds = 6,
    OrbitEnds = 7,
    HoverBegins = 8,
    HoverEnds = 9,
};

/// What the pointer did. Positions are in pixels, y down.
struct ViewportEvent
{
    enum class Type { Enter, Leave, Press, Move, Release };

    Type type = Type::Move;
    QPointF position{};
    Qt::MouseButtons buttons = Qt::NoButton; ///< pressed or released now; NoButton: whichever
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    bool panButton = false;   ///< of a press: a drag pans
    bool orbitButton = false; ///< of a press: a drag turns the camera
};

/// Where the pointer stands with a viewport. A plain value: applyEvent() is all that changes it.
struct ViewportInteraction
{
    InteractionState state = InteractionState::Outside;
    QPointF currentPosition{};
    QPointF pressPosition{};
    Qt::MouseButtons pressButtons = Qt::NoButton;
    Qt::KeyboardModifiers pressModifiers = Qt::NoModifier;
    bool panButton = false;
    bool orbitButton = false;
    double dragThreshold = 4.0; ///< pixels from the press that a tremble of the hand stays below

    /// The selection box of a drag, or of one that just ended.
    [[nodiscard]] QRectF selectionRect() const
    {
        return QRectF(pressPosition, currentPosition).normalized();
    }
    bool operator==(const ViewportInteraction &) const = default;
};

/// Takes the interaction to its next state. What a state does not know changes nothing but the
/// current position: further buttons while one is held, and the release of one of those.
///
/// What was pressed stays readable after a release, until the next press; leaving the viewport
/// clears it.
InteractionResult applyEvent(ViewportInteraction &interaction, const ViewportEvent &event);

} // namespace corvane::input
