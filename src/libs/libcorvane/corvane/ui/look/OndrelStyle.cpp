#include <corvane/ui/look/OndrelStyle.h>

#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/StylePainter.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitterHandle>
#include <QStyleOption>
#include <QToolButton>

#include <optional>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

struct MetricRow
{
    QStyle::PixelMetric metric;
    int value;
};

constexpr MetricRow metricRows[] = {
    {QStyle::PM_LayoutLeftMargin, Metrics::margin},
    {QStyle::PM_LayoutTopMargin, Metrics::margin},
    {QStyle::PM_LayoutRightMargin, Metrics::margin},
    {QStyle::PM_LayoutBottomMargin, Metrics::margin},
    {QStyle::PM_LayoutHorizontalSpacing, Metrics::spacing},
    {QStyle::PM_LayoutVerticalSpacing, Metrics::spacing},
    {QStyle::PM_ScrollBarExtent, Metrics::scrollBar},
    {QStyle::PM_ScrollView_ScrollBarSpacing, 0},
    {QStyle::PM_IndicatorWidth, Metrics::indicator},
    {QStyle::PM_IndicatorHeight, Metrics::indicator},
    {QStyle::PM_ExclusiveIndicatorWidth, Metrics::indicator},
    {QStyle::PM_ExclusiveIndicatorHeight, Metrics::indicator},
    {QStyle::PM_SmallIconSize, Metrics::iconSize},
    {QStyle::PM_ButtonIconSize, Metrics::iconSize},
    {QStyle::PM_ToolBarIconSize, Metrics::iconSize},
    {QStyle::PM_ListViewIconSize, Metrics::iconSize},
    {QStyle::PM_ToolBarItemSpacing, Metrics::grid},
    {QStyle::PM_ToolBarItemMargin, Metrics::grid},
    {QStyle::PM_ToolBarFrameWidth, 0},
    {QStyle::PM_SplitterWidth, 1},
    {QStyle::PM_TreeViewIndentation, Metrics::iconSize},
    {QStyle::PM_SliderThickness, Metrics::iconSize},
    {QStyle::PM_SliderLength, 3 * Metrics::grid},
    {QStyle::PM_SliderControlThickness, Metrics::iconSize},
    {QStyle::PM_FocusFrameHMargin, Metrics::grid},
    {QStyle::PM_ButtonShiftHorizontal, 0},
    {QStyle::PM_ButtonShiftVertical, 0},
    {QStyle::PM_MenuPanelWidth, 1},
    {QStyle::PM_MenuVMargin, Metrics::grid},
};

constexpr std::pair<QStyle::StyleHint, int> hintRows[] = {
    {QStyle::SH_EtchDisabledText, 0},
    {QStyle::SH_DitherDisabledText, 0},
    {QStyle::SH_ScrollBar_LeftClickAbsolutePosition, 1},
    {QStyle::SH_Slider_AbsoluteSetButtons, int(Qt::LeftButton)},
    {QStyle::SH_ItemView_ShowDecorationSelected, 1},
    {QStyle::SH_ComboBox_Popup, 0},
    {QStyle::SH_UnderlineShortcut, 0},
    {QStyle::SH_ScrollView_FrameOnlyAroundContents, 0},
};

using PaintFunction = void (*)(const QStyleOption &, QPainter &);

struct PrimitiveRow
{
    QStyle::PrimitiveElement element;
    PaintFunction paint;
};

constexpr PrimitiveRow primitiveRows[] = {
    {QStyle::PE_PanelButtonCommand, &StylePainter::button},
    {QStyle::PE_PanelButtonTool, &StylePainter::toolButton},
    {QStyle::PE_FrameFocusRect, &StylePainter::focusRing},
    {QStyle::PE_PanelLineEdit, &StylePainter::field},
    {QStyle::PE_FrameLineEdit, &StylePainter::fieldFrame},
    {QStyle::PE_IndicatorCheckBox, &StylePainter::checkBox},
    {QStyle::PE_IndicatorItemViewItemCheck, &StylePainter::checkBox},
    {QStyle::PE_IndicatorRadioButton, &StylePainter::radioButton},
    {QStyle::PE_IndicatorBranch, &StylePainter::branch},
    {QStyle::PE_PanelItemViewItem, &StylePainter::row},
    {QStyle::PE_PanelItemViewRow, &StylePainter::row}, // left of the item, too
    {QStyle::PE_PanelMenu, &StylePainter::card},
    {QStyle::PE_PanelTipLabel, &StylePainter::card},
};

PaintFunction primitivePainter(QStyle::PrimitiveElement element)
{
    const auto it =
        std::find_if(std::begin(primitiveRows), std::end(primitiveRows),
                     [element](const PrimitiveRow &row) { return row.element == element; });
    return it == std::end(primitiveRows) ? nullptr : it->paint;
}

/// A line edit without a frame is a part of another control.
bool isFramed(const QStyleOption &option)
{
    const auto *const frame = qstyleoption_cast<const QStyleOptionFrame *>(&option);
    return !frame || frame->lineWidth > 0;
}

bool tracksMouse(const QWidget *widget)
{
    return qobject_cast<const QAbstractButton *>(widget) ||
           qobject_cast<const QAbstractSlider *>(widget) ||
           qobject_cast<const QComboBox *>(widget) || qobject_cast<const QLineEdit *>(widget) ||
           qobject_cast<const QSplitterHandle *>(widget);
}

} // namespace

OndrelStyle::OndrelStyle()
    : QProxyStyle(u"Fusion"_s)
{}

int OndrelStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                             const QWidget *widget) const
{
    const auto it = std::find_if(std::begin(metricRows), std::end(metricRows),
                                 [metric](const MetricRow &row) { return row.metric == metric; });
    return it == std::end(metricRows) ? QProxyStyle::pixelMetric(metric, option, widget)
                                      : it->value;
}

int OndrelStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                           QStyleHintReturn *data) const
{
    for (const auto &[known, value] : hintRows) {
        if (known == hint)
            return value;
    }
    return QProxyStyle::styleHint(hint, option, widget, data);
}

QSize OndrelStyle::sizeFromContents(ContentsType type, const QStyleOption *option,
                                    const QSize &size, const QWidget *widget) const
{
    QSize made = QProxyStyle::sizeFromContents(type, option, size, widget);
    switch (type) {
    case CT_PushButton:
        made.setWidth(qMax(made.width() + Metrics::margin, 3 * Metrics::controlHeight));
        [[fallthrough]];
    case CT_ComboBox:
    case CT_LineEdit:
    case CT_SpinBox:
        made.setHeight(qMax(made.height(), Metrics::controlHeight));
        break;
    case CT_ToolButton:
        made = made.expandedTo({Metrics::controlHeight, Metrics::controlHeight});
        break;
    case CT_MenuItem:
    case CT_ItemViewItem:
        made.setHeight(qMax(made.height(), Metrics::rowHeight));
        break;
    default: // of Qt's many sorts, these are the ones with a height of ours
        break;
    }
    return made;
}

QRect OndrelStyle::subElementRect(SubElement element, const QStyleOption *option,
                                  const QWidget *widget) const
{
    if (element == SE_LineEditContents && isFramed(*option))
        return option->rect.adjusted(Metrics::grid, 0, -Metrics::grid, 0);
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect OndrelStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                  SubControl subControl, const QWidget *widget) const
{
    // Scroll bars have no arrows: the groove is all of it.
    if (control == CC_ScrollBar) {
        if (subControl == SC_ScrollBarAddLine || subControl == SC_ScrollBarSubLine)
            return {};
        if (subControl == SC_ScrollBarGroove)
            return option->rect;
    }
    return QProxyStyle::subControlRect(control, option, subControl, widget);
}

void OndrelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                                QPainter *painter, const QWidget *widget) const
{
    if (element == PE_PanelLineEdit && !isFramed(*option))
        return;
    const bool saysItself = qobject_cast<const QAbstractItemView *>(widget) || // by its selection
                            qobject_cast<const QPushButton *>(widget) ||       // by its own ring
                            qobject_cast<const QToolButton *>(widget);
    if (element == PE_FrameFocusRect && saysItself)
        return;
    if (const PaintFunction paint = primitivePainter(element))
        paint(*option, *painter);
    else
        QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void OndrelStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                              const QWidget *widget) const
{
    switch (element) {
    case CE_ProgressBarGroove:
        return StylePainter::progressGroove(*option, *painter);
    case CE_ProgressBarContents:
        if (const auto *bar = qstyleoption_cast<const QStyleOptionProgressBar *>(option))
            return StylePainter::progressBar(*bar, *painter);
        break;
    case CE_PushButtonLabel:
        if (const auto *label = qstyleoption_cast<const QStyleOptionButton *>(option))
            return drawButtonLabel(*label, painter, widget);
        break;
    case CE_HeaderSection:
    case CE_HeaderEmptyArea:
        return StylePainter::headerSection(*option, *painter);
    case CE_Splitter:
        return StylePainter::splitter(*option, *painter);
    default: // as Fusion draws it
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

// On the accent the text is that of a selection.
void OndrelStyle::drawButtonLabel(const QStyleOptionButton &option, QPainter *painter,
                                  const QWidget *widget) const
{
    QStyleOptionButton label = option;
    if (StylePainter::isAccented(option))
        label.palette.setColor(QPalette::ButtonText,
                               option.palette.color(QPalette::HighlightedText));
    QProxyStyle::drawControl(CE_PushButtonLabel, &label, painter, widget);
}

void OndrelStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                     QPainter *painter, const QWidget *widget) const
{
    if (control == CC_ComboBox) {
        if (const auto *box = qstyleoption_cast<const QStyleOptionComboBox *>(option))
            return StylePainter::comboBox(*box, *painter);
    }
    const auto *const slide = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control == CC_ScrollBar && slide)
        return StylePainter::scrollBar(*slide, *painter);
    if (control == CC_Slider && slide && slide->orientation == Qt::Horizontal)
        return StylePainter::slider(*slide, *painter);
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

void OndrelStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (tracksMouse(widget))
        widget->setAttribute(Qt::WA_Hover);
}

void OndrelStyle::unpolish(QWidget *widget)
{
    if (tracksMouse(widget))
        widget->setAttribute(Qt::WA_Hover, false);
    QProxyStyle::unpolish(widget);
}

} // namespace corvane::ui
