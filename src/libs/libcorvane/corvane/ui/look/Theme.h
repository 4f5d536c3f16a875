#pragma once

#include <QColor>
#include <QPalette>

namespace corvane::ui {

enum class Appearance { Desktop, Light, Dark };

/// What a theme is made of. Everything else is derived.
struct BaseColors
{
    QColor surface{}; ///< the window's background; its lightness says whether the theme is dark
    QColor accent{};  ///< selection, focus, the primary action
    QColor error{};
    QColor warning{};
    QColor success{};

    static BaseColors light();
    static BaseColors dark();
};

/// Colours by what they mean, for what QPalette has no role. All stand out from the window's
/// background and from that of fields as their use needs.
struct SemanticPalette
{
    QColor accent{};
    QColor error{};   ///< as text
    QColor warning{}; ///< as text
    QColor success{}; ///< as text
    QColor muted{};   ///< text that explains: units, hints, counts
    QColor border{};  ///< of controls
    QColor line{};    ///< between parts of a panel: no control, so fainter
    QColor focus{};   ///< the ring around what has the keyboard
    QColor hover{};   ///< behind what the mouse is on
    QColor raised{};  ///< of cards and pop-ups
    bool isDark = false;

    /// That of the running application; the light one before a theme is applied.
    static const SemanticPalette &current();
};

/// A palette and what belongs to it.
struct Theme
{
    QPalette palette{};
    SemanticPalette semantic{};

    /// Derived in HSL, then corrected for contrast.
    static Theme make(const BaseColors &base);
};

/// Makes a theme that of the application: its style, font and palette, and the semantic palette.
/// Logs "Applying style app-wide".
void applyTheme(const Theme &theme);
/// The same for a choice of the user's; Desktop follows the palette that the desktop gave.
void applyAppearance(Appearance appearance);

} // namespace corvane::ui
