#include <corvane/ui/look/Theme.h>

#include <corvane/ui/look/Contrast.h>
#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/Logging.h>
#include <corvane/ui/look/OndrelStyle.h>

#include <QApplication>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int cursorFlashMs = 1060;

/// The colour, lighter by a part of the whole range where the theme is light, else darker: away
/// from the text.
QColor shifted(const QColor &color, double lightness)
{
    const QColor hsl = color.toHsl();
    const float hue = hsl.hslHueF() < 0.0f ? 0.0f : hsl.hslHueF();
    const double moved = qBound(0.0, double(hsl.lightnessF()) + lightness, 1.0);
    return QColor::fromHslF(hue, hsl.hslSaturationF(), float(moved)).toRgb();
}

QColor mixed(const QColor &a, const QColor &b, double part)
{
    const auto mix = [part](float x, float y) {
        return float(double(x) * (1 - part) + double(y) * part);
    };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()),
                            mix(a.blueF(), b.blueF()));
}

/// Far enough from both: a field's background differs from the window's.
QColor onBoth(const QColor &color, const QColor &window, const QColor &field, double ratio)
{
    return withContrast(withContrast(color, window, ratio), field, ratio);
}

struct Surfaces
{
    QColor window, field, raised, button, alternate;
};

Surfaces surfacesOf(const QColor &surface, bool isDark)
{
    const double sign = isDark ? 1.0 : -1.0;
    return {.window = surface,
            .field = isDark ? shifted(surface, -0.035) : QColor(Qt::white),
            .raised = isDark ? shifted(surface, 0.045) : QColor(Qt::white),
            .button = shifted(surface, 0.055 * sign),
            .alternate = isDark ? shifted(surface, -0.015) : shifted(surface, 0.015)};
}

SemanticPalette semanticOf(const BaseColors &base, const Surfaces &on, const QColor &text,
                           bool isDark)
{
    const auto asText = [&on](const QColor &color) {
        return onBoth(color, on.window, on.field, textContrast);
    };
    const auto asControl = [&on](const QColor &color) {
        return onBoth(color, on.window, on.field, controlContrast);
    };
    return {.accent = asControl(base.accent),
            .error = asText(base.error),
            .warning = asText(base.warning),
            .success = asText(base.success),
            .muted = asText(mixed(text, on.window, 0.4)),
            .border = asControl(mixed(text, on.window, 0.6)),
            .line = mixed(text, on.window, 0.84),
            .focus = asControl(base.accent),
            .hover = mixed(on.window, base.accent, isDark ? 0.18 : 0.10),
            .raised = on.raised,
            .isDark = isDark};
}

void setTexts(QPalette &palette, const QColor &text, const QColor &muted)
{
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::ToolTipText, QPalette::BrightText})
        palette.setColor(role, text);
    palette.setColor(QPalette::PlaceholderText, muted);
}

void setDisabled(QPalette &palette, const QColor &text, const Surfaces &on)
{
    const QColor faint = mixed(text, on.window, 0.55);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::HighlightedText, QPalette::PlaceholderText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::Disabled, QPalette::Base, on.window);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, mixed(text, on.window, 0.8));
}

QPalette paletteOf(const BaseColors &base, const Surfaces &on, const QColor &text,
                   const SemanticPalette &semantic)
{
    QPalette palette;
    palette.setColor(QPalette::Window, on.window);
    palette.setColor(QPalette::Base, on.field);
    palette.setColor(QPalette::AlternateBase, on.alternate);
    palette.setColor(QPalette::Button, on.button);
    palette.setColor(QPalette::ToolTipBase, on.raised);
    setTexts(palette, text, semantic.muted);
    // White on the accent, which is darkened for it.
    palette.setColor(QPalette::Highlight, withContrast(base.accent, Qt::white, textContrast));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, onBoth(base.accent, on.window, on.field, textContrast));
    palette.setColor(QPalette::LinkVisited, palette.color(QPalette::Link));
    palette.setColor(QPalette::Mid, semantic.border);
    palette.setColor(QPalette::Midlight, semantic.line);
    palette.setColor(QPalette::Light, shifted(on.button, 0.08));
    palette.setColor(QPalette::Dark, shifted(on.window, -0.10));
    palette.setColor(QPalette::Shadow, Qt::black);
    setDisabled(palette, text, on);
    return palette;
}

SemanticPalette &currentSemantic()
{
    static SemanticPalette palette = Theme::make(BaseColors::light()).semantic;
    return palette;
}

/// What the desktop gave, before a theme replaced it.
bool isDesktopDark()
{
    static const bool isDark = QApplication::palette().color(QPalette::Window).lightnessF() < 0.5f;
    return isDark;
}

} // namespace

BaseColors BaseColors::light()
{
    return {.surface = QColor(0xf2, 0xf3, 0xf5),
            .accent = QColor(0x2f, 0x6f, 0xde),
            .error = QColor(0xe5, 0x48, 0x4d),
            .warning = QColor(0xf5, 0xa6, 0x23),
            .success = QColor(0x30, 0xa4, 0x6c)};
}

BaseColors BaseColors::dark()
{
    BaseColors base = light();
    base.surface = QColor(0x24, 0x26, 0x2b);
    base.accent = QColor(0x4c, 0x8b, 0xf5);
    return base;
}

const SemanticPalette &SemanticPalette::current()
{
    return currentSemantic();
}

Theme Theme::make(const BaseColors &base)
{
    const bool isDark = base.surface.lightnessF() < 0.5f;
    const Surfaces on = surfacesOf(base.surface, isDark);
    const QColor ink = isDark ? QColor(0xe8, 0xea, 0xed) : QColor(0x1c, 0x1e, 0x22);
    const QColor text = onBoth(ink, on.window, on.field, textContrast);
    const SemanticPalette semantic = semanticOf(base, on, text, isDark);
    return {.palette = paletteOf(base, on, text, semantic), .semantic = semantic};
}

void applyTheme(const Theme &theme)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        qCCritical(lcLook) << "ERROR: No application found while applying styles";
        return;
    }
    qCInfo(lcLook) << "Applying style app-wide";
    isDesktopDark(); // asked while the answer is still there
    currentSemantic() = theme.semantic;
    if (!qobject_cast<OndrelStyle *>(QApplication::style()))
        QApplication::setStyle(new OndrelStyle);
    QApplication::setPalette(theme.palette);
    QApplication::setFont(applicationFont());
    QApplication::setCursorFlashTime(cursorFlashMs);
}

void applyAppearance(Appearance appearance)
{
    const bool isDark =
        appearance == Appearance::Dark || (appearance == Appearance::Desktop && isDesktopDark());
    applyTheme(Theme::make(isDark ? BaseColors::dark() : BaseColors::light()));
}

} // namespace corvane::ui
