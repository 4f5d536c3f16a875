#pragma once

#include <QPointF>
#include <Qt>

namespace corvane::input {

/// A click, when it is over.
struct ClickAction
{
    enum class Kind { None, Select, Toggle, Menu };

    Kind kind = Kind::None;
    QPointF position{}; ///< pixels; of the press, which a hand aims with
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;

    bool operator==(const ClickAction &) const = default;
};

/// What the pointer rests on, for an outline: nothing while a button is held.
struct HoverIntent
{
    bool active = false;
    QPointF position{}; ///< pixels

    bool operator==(const HoverIntent &) const = default;
};

} // namespace corvane::input
