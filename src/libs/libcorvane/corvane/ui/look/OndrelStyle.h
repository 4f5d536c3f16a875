#pragma once

#include <QProxyStyle>

class QStyleOptionButton;

namespace corvane::ui {

/// The look of the whole application: Fusion with flat controls on one grid, of one height, with
/// one radius of corners, and a ring of the accent around what has the keyboard. All colours come
/// from the palette and the semantic palette, so that a theme needs no style of its own.
class OndrelStyle : public QProxyStyle
{
    Q_OBJECT

public:
    OndrelStyle();

    int pixelMetric(PixelMetric metric, const QStyleOption *option = nullptr,
                    const QWidget *widget = nullptr) const override;
    int styleHint(StyleHint hint, const QStyleOption *option = nullptr,
                  const QWidget *widget = nullptr, QStyleHintReturn *data = nullptr) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget = nullptr) const override;
    QRect subElementRect(SubElement element, const QStyleOption *option,
                         const QWidget *widget = nullptr) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                         SubControl subControl, const QWidget *widget = nullptr) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                            QPainter *painter, const QWidget *widget = nullptr) const override;
    void polish(QWidget *widget) override;
    void unpolish(QWidget *widget) override;
    using QProxyStyle::polish;
    using QProxyStyle::unpolish;

private:
    void drawButtonLabel(const QStyleOptionButton &option, QPainter *painter,
                         const QWidget *widget) const;
};

} // namespace corvane::ui
