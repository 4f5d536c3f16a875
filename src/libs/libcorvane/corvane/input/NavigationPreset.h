#pragma once

#include <corvane/input/ClickAction.h>

#include <QLatin1String>
#include <QList>
#include <Qt>

namespace corvane::input {

enum class NavigationAction {
    None,
    SelectionBox,
    Orbit,
    Pan,
    LookAround,
    Dolly, ///< dragging or scrolling up goes forward
};

/// What a mouse button does with the modifiers held as it is pressed.
struct ButtonBinding
{
    Qt::MouseButton button = Qt::NoButton;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier; ///< just these
    NavigationAction drag = NavigationAction::None;
    ClickAction::Kind click = ClickAction::Kind::None;
};

/// What the wheel, or two fingers, do.
struct ScrollBinding
{
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    NavigationAction action = NavigationAction::None;
};

/// A way to move about in the picture. Pinching always zooms.
struct NavigationPreset
{
    QLatin1String id;
    QLatin1String displayName;
    QList<ButtonBinding> buttons;
    QList<ScrollBinding> scrolls;

    /// A binding without action for what is not bound.
    [[nodiscard]] ButtonBinding binding(Qt::MouseButton button,
                                        Qt::KeyboardModifiers modifiers) const;
    [[nodiscard]] NavigationAction scroll(Qt::KeyboardModifiers modifiers) const;
};

/// "standard", "right-orbit" and "trackpad".
[[nodiscard]] const QList<NavigationPreset> &navigationPresets();
/// The first preset for an unknown id.
[[nodiscard]] const NavigationPreset &navigationPreset(QLatin1String id);

} // namespace corvane::input
