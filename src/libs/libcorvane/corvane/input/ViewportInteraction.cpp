#include <corvane/input/ViewportInteraction.h>

#include <QLineF>

#include <algorithm>
#include <iterator>

namespace corvane::input {

namespace {

using State = InteractionState;
using Type = ViewportEvent::Type;
using Result = InteractionResult;

/// What a move has to be for a row to hold. Pan stands before orbit where a press is both.
enum class When { Always, Pan, Orbit, Neither };

struct Transition
{
    State state;
    Type event;
    When when;
    State next;
    Result result;
};

constexpr Transition transitions[] = {
    {State::Outside, Type::Enter, When::Always, State::Hovering, Result::HoverBegins},
    {State::Hovering, Type::Leave, When::Always, State::Outside, Result::HoverEnds},
    {State::Hovering, Type::Press, When::Always, State::Pressed, Result::None},
    {State::Pressed, Type::Move, When::Pan, State::Panning, Result::PanBegins},
    {State::Pressed, Type::Move, When::Orbit, State::Orbiting, Result::OrbitBegins},
    {State::Pressed, Type::Move, When::Neither, State::Dragging, Result::SelectionDragBegins},
    {State::Pressed, Type::Release, When::Always, State::Hovering, Result::Click},
    {State::Pressed, Type::Leave, When::Always, State::Outside, Result::HoverEnds},
    {State::Dragging, Type::Release, When::Always, State::Hovering, Result::SelectionDragEnds},
    {State::Dragging, Type::Leave, When::Always, State::Outside, Result::SelectionDragEnds},
    {State::Panning, Type::Release, When::Always, State::Hovering, Result::PanEnds},
    {State::Panning, Type::Leave, When::Always, State::Outside, Result::PanEnds},
    {State::Orbiting, Type::Release, When::Always, State::Hovering, Result::OrbitEnds},
    {State::Orbiting, Type::Leave, When::Always, State::Outside, Result::OrbitEnds},
};

bool isBeyondThreshold(const ViewportInteraction &interaction, const QPointF &position)
{
    return QLineF(interaction.pressPosition, position).length() >= interaction.dragThreshold;
}

bool holds(When when, const ViewportInteraction &interaction, const ViewportEvent &event)
{
    if (when == When::Always)
        return true;
    if (!isBeyondThreshold(interaction, event.position))
        return false;
    const When drag = interaction.panButton     ? When::Pan
                      : interaction.orbitButton ? When::Orbit
                                                : When::Neither;
    return when == drag;
}

void storePress(ViewportInteraction &interaction, const ViewportEvent &event)
{
    interaction.pressPosition = event.position;
    interaction.pressButtons = event.buttons;
    interaction.pressModifiers = event.modifiers;
    interaction.panButton = event.panButton;
    interaction.orbitButton = event.orbitButton;
}

/// The release of a button that this press is not of.
bool isForeignRelease(const ViewportInteraction &interaction, const ViewportEvent &event)
{
    return event.type == Type::Release && event.buttons != Qt::NoButton &&
           interaction.pressButtons != Qt::NoButton && !(event.buttons & interaction.pressButtons);
}

} // namespace

InteractionResult applyEvent(ViewportInteraction &interaction, const ViewportEvent &event)
{
    if (event.type != Type::Leave) // where it left to says nothing about the box of a drag
        interaction.currentPosition = event.position;
    const auto row = std::find_if(
        std::begin(transitions), std::end(transitions), [&](const Transition &transition) {
            return transition.state == interaction.state && transition.event == event.type &&
                   holds(transition.when, interaction, event);
        });
    if (row == std::end(transitions) || isForeignRelease(interaction, event))
        return Result::None;
    if (event.type == Type::Press)
        storePress(interaction, event);
    if (interaction.state == State::Pressed && event.type == Type::Leave)
        storePress(interaction, {});
    interaction.state = row->next;
    return row->result;
}

} // namespace corvane::input
