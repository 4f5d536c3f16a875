#include <corvane/ui/fields/NumberEdit.h>

#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>

#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int inset = 6;        ///< of the text, as QLineEdit has it
constexpr int leastTyping = 40; ///< room for the text that the hint leaves
constexpr int waveLength = 4;

} // namespace

NumberEdit::NumberEdit(QWidget *parent)
    : QLineEdit(parent)
{
    setFixedHeight(Metrics::controlHeight);
    setContextMenuPolicy(Qt::NoContextMenu); // the field has one
}

void NumberEdit::setUnit(const QString &unit)
{
    m_unit = unit;
    makeRoom();
}

void NumberEdit::setHint(const QString &hint)
{
    m_hint = hint;
    makeRoom();
}

void NumberEdit::setFailure(int fromPosition)
{
    m_failsFrom = fromPosition;
    update();
}

QString NumberEdit::shownHint() const
{
    const QString full = m_hint.isEmpty() ? m_unit : u"%1 %2"_s.arg(m_hint, m_unit).trimmed();
    const int room = width() - leastTyping;
    return fontMetrics().horizontalAdvance(full) <= room ? full : QString();
}

void NumberEdit::makeRoom()
{
    const QString shown = shownHint();
    const int wide = shown.isEmpty() ? 0 : fontMetrics().horizontalAdvance(shown) + Metrics::grid;
    setTextMargins(0, 0, wide, 0);
    update();
}

void NumberEdit::resizeEvent(QResizeEvent *event)
{
    QLineEdit::resizeEvent(event);
    makeRoom();
}

void NumberEdit::focusInEvent(QFocusEvent *event)
{
    QLineEdit::focusInEvent(event);
    update();
}

void NumberEdit::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    update();
}

void NumberEdit::paintEvent(QPaintEvent *event)
{
    QLineEdit::paintEvent(event);
    QPainter painter(this);
    const QString shown = shownHint();
    if (!shown.isEmpty()) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect().adjusted(inset, 0, -inset, 0), Qt::AlignRight | Qt::AlignVCenter,
                         shown);
    }
    if (m_failsFrom >= 0)
        paintWave(painter);
}

void NumberEdit::paintWave(QPainter &painter) const
{
    const QString line = displayText();
    const int from = qBound(0, m_failsFrom, int(line.size()));
    const int first = inset + fontMetrics().horizontalAdvance(line.left(from));
    const int last = qMin(inset + fontMetrics().horizontalAdvance(line),
                          width() - textMargins().right() - inset);
    const int y = (height() + fontMetrics().height()) / 2 - 1;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(SemanticPalette::current().error, 1.2));
    QPainterPath wave(QPointF(first, y));
    bool isUp = true;
    for (int x = first; x < qMax(last, first + 2 * waveLength); x += waveLength / 2) {
        wave.lineTo(x + waveLength / 2, isUp ? y - 2 : y);
        isUp = !isUp;
    }
    painter.drawPath(wave);
}

} // namespace corvane::ui
