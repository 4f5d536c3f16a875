#include <corvane/input/NavigationPreset.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::input {

namespace {

using enum NavigationAction;
using Click = ClickAction::Kind;

// Selecting is the same everywhere.
constexpr ButtonBinding selecting[] = {
    {Qt::LeftButton, Qt::NoModifier, SelectionBox, Click::Select},
    {Qt::LeftButton, Qt::ControlModifier, SelectionBox, Click::Toggle},
    {Qt::LeftButton, Qt::ShiftModifier, SelectionBox, Click::Toggle},
};

constexpr Qt::KeyboardModifiers altShift = Qt::AltModifier | Qt::ShiftModifier;

constexpr ButtonBinding standardButtons[] = {
    {Qt::MiddleButton, Qt::NoModifier, Orbit, Click::None},
    {Qt::MiddleButton, Qt::ShiftModifier, Pan, Click::None},
    {Qt::MiddleButton, Qt::ControlModifier, Dolly, Click::None},
    {Qt::MiddleButton, Qt::AltModifier, LookAround, Click::None},
    {Qt::LeftButton, Qt::AltModifier, Orbit, Click::None},
    {Qt::LeftButton, altShift, Pan, Click::None},
    {Qt::RightButton, Qt::NoModifier, Orbit, Click::Menu},
    {Qt::RightButton, Qt::ShiftModifier, Pan, Click::Menu},
};
constexpr ScrollBinding wheel[] = {
    {Qt::NoModifier, Dolly},
    {Qt::ControlModifier, Dolly},
    {Qt::ShiftModifier, Pan},
};

constexpr ButtonBinding rightOrbitButtons[] = {
    {Qt::RightButton, Qt::NoModifier, Orbit, Click::Menu},
    {Qt::RightButton, Qt::ShiftModifier, Pan, Click::Menu},
    {Qt::RightButton, Qt::ControlModifier, Dolly, Click::Menu},
    {Qt::RightButton, Qt::AltModifier, LookAround, Click::Menu},
    {Qt::MiddleButton, Qt::NoModifier, Pan, Click::None},
    {Qt::MiddleButton, Qt::ShiftModifier, Orbit, Click::None},
};

constexpr ButtonBinding trackpadButtons[] = {
    {Qt::LeftButton, Qt::AltModifier, Orbit, Click::None},
    {Qt::LeftButton, altShift, Pan, Click::None},
    {Qt::RightButton, Qt::NoModifier, Orbit, Click::Menu},
    {Qt::RightButton, Qt::ShiftModifier, Pan, Click::Menu},
    {Qt::MiddleButton, Qt::NoModifier, Orbit, Click::None},
    {Qt::MiddleButton, Qt::ShiftModifier, Pan, Click::None},
};
constexpr ScrollBinding fingers[] = {
    {Qt::NoModifier, Pan},
    {Qt::AltModifier, Orbit},
    {Qt::ShiftModifier, Orbit},
    {Qt::ControlModifier, Dolly},
};

template<std::size_t buttonCount, std::size_t scrollCount>
NavigationPreset makePreset(QLatin1String id, QLatin1String displayName,
                            const ButtonBinding (&buttons)[buttonCount],
                            const ScrollBinding (&scrolls)[scrollCount])
{
    NavigationPreset preset{id,
                            displayName,
                            {std::begin(buttons), std::end(buttons)},
                            {std::begin(scrolls), std::end(scrolls)}};
    for (const ButtonBinding &binding : selecting)
        preset.buttons.append(binding);
    return preset;
}

/// Keypad and group switch say where a key is, not what is meant.
Qt::KeyboardModifiers meant(Qt::KeyboardModifiers modifiers)
{
    return modifiers & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);
}

} // namespace

ButtonBinding NavigationPreset::binding(Qt::MouseButton button,
                                        Qt::KeyboardModifiers modifiers) const
{
    const auto found =
        std::find_if(buttons.cbegin(), buttons.cend(), [&](const ButtonBinding &candidate) {
            return candidate.button == button && candidate.modifiers == meant(modifiers);
        });
    return found == buttons.cend() ? ButtonBinding{button, modifiers} : *found;
}

NavigationAction NavigationPreset::scroll(Qt::KeyboardModifiers modifiers) const
{
    const auto found =
        std::find_if(scrolls.cbegin(), scrolls.cend(), [&](const ScrollBinding &candidate) {
            return candidate.modifiers == meant(modifiers);
        });
    return found == scrolls.cend() ? None : found->action;
}

const QList<NavigationPreset> &navigationPresets()
{
    static const QList<NavigationPreset> presets{
        makePreset("standard"_L1, "Middle button orbits"_L1, standardButtons, wheel),
        makePreset("right-orbit"_L1, "Right button orbits"_L1, rightOrbitButtons, wheel),
        makePreset("trackpad"_L1, "Trackpad"_L1, trackpadButtons, fingers),
    };
    return presets;
}

const NavigationPreset &navigationPreset(QLatin1String id)
{
    const auto &presets = navigationPresets();
    const auto found = std::find_if(presets.cbegin(), presets.cend(),
                                    [id](const NavigationPreset &p) { return p.id == id; });
    return found == presets.cend() ? presets.constFirst() : *found;
}

} // namespace corvane::input
