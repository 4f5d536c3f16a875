#pragma once

class QPainter;
class QStyleOption;
class QStyleOptionComboBox;
class QStyleOptionProgressBar;
class QStyleOptionSlider;
class QWidget;

/// How OndrelStyle draws each thing. The functions paint within the option's rectangle and leave
/// the painter as it was.
namespace corvane::ui::StylePainter {

bool isAccented(const QStyleOption &option); ///< whether a button stands on the accent
void button(const QStyleOption &option, QPainter &painter);
void toolButton(const QStyleOption &option, QPainter &painter);
void field(const QStyleOption &option, QPainter &painter); ///< background, border, focus ring
void fieldFrame(const QStyleOption &option, QPainter &painter);
void focusRing(const QStyleOption &option, QPainter &painter);
void checkBox(const QStyleOption &option, QPainter &painter);
void radioButton(const QStyleOption &option, QPainter &painter);
void branch(const QStyleOption &option, QPainter &painter); ///< the chevron of a tree's row
void row(const QStyleOption &option, QPainter &painter);    ///< behind an item of a view
void card(const QStyleOption &option, QPainter &painter);   ///< of menus and tool tips
void comboBox(const QStyleOptionComboBox &option, QPainter &painter);
void scrollBar(const QStyleOptionSlider &option, QPainter &painter);
void slider(const QStyleOptionSlider &option, QPainter &painter);
void progressGroove(const QStyleOption &option, QPainter &painter);
void progressBar(const QStyleOptionProgressBar &option, QPainter &painter);
void headerSection(const QStyleOption &option, QPainter &painter);
void splitter(const QStyleOption &option, QPainter &painter);

} // namespace corvane::ui::StylePainter
