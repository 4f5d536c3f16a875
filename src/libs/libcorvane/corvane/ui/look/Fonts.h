#pragma once

#include <corvane/ui/look/Metrics.h>

#include <QFont>

namespace corvane::ui {

/// Registers the text face from ":/fonts/Dosis/OndrelDosis-VF.ttf", under the name "Ondrel Dosis".
/// One that fails is logged, and the system's face stands in. A second call does nothing.
void registerFonts();

/// The text face in a size. Its upright weight is Medium, which reads better on a screen at small
/// sizes than Regular does.
QFont applicationFont(TextSize size = TextSize::Normal);
/// For code and expressions: the system's face of one width.
QFont codeFont();

/// The user's choice of size, in percent, for what is made from now on.
void setTextPercent(int percent);

} // namespace corvane::ui
