#include <corvane/ui/look/StylePainter.h>

#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>

#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>

using namespace Qt::StringLiterals;

namespace corvane::ui::StylePainter {

namespace {

/// Restores the painter, and draws smooth edges meanwhile.
class Smooth
{
public:
    explicit Smooth(QPainter &painter)
        : m_painter(painter)
    {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
    }
    ~Smooth() { m_painter.restore(); }
    Smooth(const Smooth &) = delete;
    Smooth &operator=(const Smooth &) = delete;

private:
    QPainter &m_painter;
};

bool has(const QStyleOption &option, QStyle::StateFlag flag)
{
    return option.state.testFlag(flag);
}

bool isHovered(const QStyleOption &option)
{
    return has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled);
}

/// A line of whole pixels has its middle between them.
QRectF outline(const QRect &rect, qreal width = 1.0)
{
    const qreal half = width / 2.0;
    return QRectF(rect).adjusted(half, half, -half, -half);
}

void roundedBox(QPainter &painter, const QRect &rect, const QBrush &fill, const QColor &border,
                qreal width = 1.0)
{
    painter.setBrush(fill);
    painter.setPen(border.alpha() > 0 ? QPen(border, width) : QPen(Qt::NoPen));
    painter.drawRoundedRect(outline(rect, width), Metrics::corner, Metrics::corner);
}

QColor borderOf(const QStyleOption &option)
{
    const SemanticPalette &colors = SemanticPalette::current();
    if (!has(option, QStyle::State_Enabled))
        return colors.line;
    return isHovered(option) ? colors.accent : colors.border;
}

QColor pressable(const QStyleOption &option, const QColor &rest)
{
    const SemanticPalette &colors = SemanticPalette::current();
    if (has(option, QStyle::State_Sunken))
        return option.palette.color(QPalette::Midlight);
    return isHovered(option) ? colors.hover : rest;
}

void drawIcon(QPainter &painter, const QString &name, const QColor &color, const QRect &within,
              int size)
{
    const QPixmap pixmap = iconPixmap(name, color, size, painter.device()->devicePixelRatioF());
    QRect place(0, 0, size, size);
    place.moveCenter(within.center());
    painter.drawPixmap(place, pixmap);
}

void ring(QPainter &painter, const QRect &rect)
{
    roundedBox(painter, rect, Qt::NoBrush, SemanticPalette::current().focus, Metrics::ring);
}

} // namespace

bool isAccented(const QStyleOption &option)
{
    const auto *const made = qstyleoption_cast<const QStyleOptionButton *>(&option);
    const bool isDefault = made && made->features.testFlag(QStyleOptionButton::DefaultButton);
    return has(option, QStyle::State_On) || (isDefault && has(option, QStyle::State_Enabled));
}

void button(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    if (isAccented(option)) {
        const QColor fill = option.palette.color(QPalette::Highlight);
        roundedBox(painter, option.rect, isHovered(option) ? fill.lighter(112) : fill, fill);
    } else {
        roundedBox(painter, option.rect, pressable(option, option.palette.color(QPalette::Button)),
                   borderOf(option));
    }
    if (has(option, QStyle::State_HasFocus))
        ring(painter, option.rect);
}

void toolButton(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    const bool isDown = has(option, QStyle::State_Sunken) || has(option, QStyle::State_On);
    if (isDown)
        roundedBox(painter, option.rect, option.palette.color(QPalette::Midlight), Qt::transparent);
    else if (isHovered(option))
        roundedBox(painter, option.rect, SemanticPalette::current().hover, Qt::transparent);
    else if (!has(option, QStyle::State_AutoRaise))
        roundedBox(painter, option.rect, option.palette.color(QPalette::Button), borderOf(option));
    if (has(option, QStyle::State_HasFocus))
        ring(painter, option.rect);
}

void field(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    roundedBox(painter, option.rect, option.palette.brush(QPalette::Base), Qt::transparent);
    fieldFrame(option, painter);
}

void fieldFrame(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    if (has(option, QStyle::State_HasFocus))
        ring(painter, option.rect);
    else
        roundedBox(painter, option.rect, Qt::NoBrush, borderOf(option));
}

void focusRing(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    ring(painter, option.rect);
}

void checkBox(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    const bool isMixed = has(option, QStyle::State_NoChange);
    const bool isSet = has(option, QStyle::State_On) || isMixed;
    const QColor fill = option.palette.color(isSet ? QPalette::Highlight : QPalette::Base);
    roundedBox(painter, option.rect, fill, isSet ? fill : borderOf(option));
    if (isSet)
        drawIcon(painter, isMixed ? u"minus"_s : u"check"_s,
                 option.palette.color(QPalette::HighlightedText), option.rect,
                 option.rect.width() - 4);
}

void radioButton(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    const bool isSet = has(option, QStyle::State_On);
    const QColor fill = option.palette.color(isSet ? QPalette::Highlight : QPalette::Base);
    painter.setBrush(fill);
    painter.setPen(isSet ? fill : borderOf(option));
    painter.drawEllipse(outline(option.rect));
    if (!isSet)
        return;
    const qreal inset = option.rect.width() * 0.3;
    painter.setBrush(option.palette.color(QPalette::HighlightedText));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRectF(option.rect).adjusted(inset, inset, -inset, -inset));
}

void branch(const QStyleOption &option, QPainter &painter)
{
    if (!has(option, QStyle::State_Children))
        return;
    const QString name = has(option, QStyle::State_Open) ? u"chevron-down"_s : u"chevron-right"_s;
    drawIcon(painter, name, SemanticPalette::current().muted, option.rect, Metrics::iconSize - 2);
}

void row(const QStyleOption &option, QPainter &painter)
{
    const auto *const item = qstyleoption_cast<const QStyleOptionViewItem *>(&option);
    if (item && item->backgroundBrush.style() != Qt::NoBrush)
        painter.fillRect(option.rect, item->backgroundBrush);
    if (has(option, QStyle::State_Selected)) {
        const auto group =
            has(option, QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
        painter.fillRect(option.rect, option.palette.brush(group, QPalette::Highlight));
    } else if (isHovered(option)) {
        painter.fillRect(option.rect, SemanticPalette::current().hover);
    }
}

void card(const QStyleOption &option, QPainter &painter)
{
    painter.fillRect(option.rect, SemanticPalette::current().raised);
    painter.save();
    painter.setPen(SemanticPalette::current().border);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(option.rect.adjusted(0, 0, -1, -1));
    painter.restore();
}

void comboBox(const QStyleOptionComboBox &option, QPainter &painter)
{
    const Smooth smooth(painter);
    const QColor rest = option.palette.color(option.editable ? QPalette::Base : QPalette::Button);
    roundedBox(painter, option.rect, option.editable ? rest : pressable(option, rest),
               borderOf(option));
    if (has(option, QStyle::State_HasFocus))
        ring(painter, option.rect);
    const bool isRight = option.direction == Qt::LeftToRight;
    const int side = option.rect.height();
    const QRect arrow(isRight ? option.rect.right() + 1 - side : option.rect.left(),
                      option.rect.top(), side, side);
    const auto group = has(option, QStyle::State_Enabled) ? QPalette::Active : QPalette::Disabled;
    drawIcon(painter, u"chevron-down"_s, option.palette.color(group, QPalette::ButtonText), arrow,
             Metrics::iconSize - 2);
}

void scrollBar(const QStyleOptionSlider &option, QPainter &painter)
{
    painter.fillRect(option.rect, option.palette.brush(QPalette::Window));
    const int range = option.maximum - option.minimum;
    if (range <= 0)
        return;
    const bool isUpright = option.orientation == Qt::Vertical;
    const int length = isUpright ? option.rect.height() : option.rect.width();
    const int shown = qMax(1, option.pageStep);
    const int handle = qBound(3 * Metrics::grid * 2,
                              int(qint64(length) * shown / (qint64(range) + shown)), length);
    const int at = QStyle::sliderPositionFromValue(
        option.minimum, option.maximum, option.sliderPosition, length - handle, option.upsideDown);
    const QRect box =
        isUpright ? QRect(option.rect.left(), option.rect.top() + at, option.rect.width(), handle)
                  : QRect(option.rect.left() + at, option.rect.top(), handle, option.rect.height());
    const Smooth smooth(painter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isHovered(option) ? SemanticPalette::current().muted
                                       : SemanticPalette::current().border);
    const QRectF bar = QRectF(box).adjusted(2, 2, -2, -2);
    const qreal radius = qMin(bar.width(), bar.height()) / 2.0;
    painter.drawRoundedRect(bar, radius, radius);
}

void slider(const QStyleOptionSlider &option, QPainter &painter)
{
    constexpr int groove = Metrics::grid;
    constexpr int knob = 3 * Metrics::grid;
    const QRect full = option.rect;
    const int at =
        QStyle::sliderPositionFromValue(option.minimum, option.maximum, option.sliderPosition,
                                        full.width() - knob, option.upsideDown);
    const bool isOn = has(option, QStyle::State_Enabled);
    const SemanticPalette &colors = SemanticPalette::current();
    const Smooth smooth(painter);
    QRect line(full.left() + knob / 2, full.center().y() - groove / 2 + 1, full.width() - knob,
               groove);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.line);
    painter.drawRoundedRect(line, groove / 2.0, groove / 2.0);
    line.setWidth(at);
    painter.setBrush(isOn ? colors.accent : colors.border);
    painter.drawRoundedRect(line, groove / 2.0, groove / 2.0);
    const QRect handle(full.left() + at, full.center().y() - knob / 2 + 1, knob, knob);
    painter.setBrush(isOn ? colors.accent : colors.border);
    painter.drawEllipse(handle);
    if (!has(option, QStyle::State_HasFocus))
        return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colors.focus, 1));
    painter.drawEllipse(QRectF(handle).adjusted(-1.5, -1.5, 1.5, 1.5));
}

void progressGroove(const QStyleOption &option, QPainter &painter)
{
    const Smooth smooth(painter);
    roundedBox(painter, option.rect, option.palette.brush(QPalette::Base),
               SemanticPalette::current().line);
}

void progressBar(const QStyleOptionProgressBar &option, QPainter &painter)
{
    const bool isEndless = option.minimum == option.maximum;
    const double part = isEndless ? 1.0
                                  : double(option.progress - option.minimum) /
                                        double(option.maximum - option.minimum);
    QRect filled = option.rect;
    filled.setWidth(int(filled.width() * qBound(0.0, part, 1.0)));
    if (filled.isEmpty())
        return;
    const Smooth smooth(painter);
    QPainterPath within;
    within.addRoundedRect(option.rect, Metrics::corner, Metrics::corner);
    painter.setClipPath(within);
    const QColor color = option.palette.color(QPalette::Highlight);
    painter.fillRect(filled, isEndless ? QBrush(color, Qt::BDiagPattern) : QBrush(color));
}

void headerSection(const QStyleOption &option, QPainter &painter)
{
    painter.fillRect(option.rect, option.palette.brush(QPalette::Window));
    painter.save();
    painter.setPen(SemanticPalette::current().line);
    painter.drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
    painter.restore();
}

void splitter(const QStyleOption &option, QPainter &painter)
{
    painter.fillRect(option.rect, isHovered(option) ? SemanticPalette::current().accent
                                                    : SemanticPalette::current().line);
}

} // namespace corvane::ui::StylePainter
