#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

#include <functional>

namespace corvane::ui {

/// The icon of a name, such as "trash-2": a drawing of lines from ":/icons/lucide", in the colour
/// of text on what it stands on. It is drawn anew at each size and scale, and follows the palette.
/// An unknown name is logged and gives an empty icon.
QIcon icon(const QString &name);
/// The same in a colour that is asked for at each drawing, so that it follows the theme, too.
QIcon icon(const QString &name, const std::function<QColor()> &color);
/// Any other drawing whose lines are of the colour "currentColor".
QIcon iconFromFile(const QString &path, const std::function<QColor()> &color = {});

/// One drawing in one colour, for those who paint by themselves.
/// @param size  in pixels of a screen at scale 1
QPixmap iconPixmap(const QString &name, const QColor &color, int size, qreal scale);

} // namespace corvane::ui
