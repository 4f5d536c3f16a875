#include <corvane/bench/SvgPlot.h>

#include <corvane/bench/PlotScale.h>

#include <cmath>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr double width = 860;
constexpr double labelWidth = 170;
constexpr double rightMargin = 24;
constexpr double top = 16;
constexpr double axisHeight = 44;
constexpr double rowHeight = 26;
constexpr double scatterHeight = 320;
constexpr int colours = 8;
constexpr qsizetype longestLabel = 24;

constexpr auto frame =
    R"(<svg viewBox="0 0 %1 %2" role="img" aria-label="%3"><title>%3</title>
%4</svg>
)"_L1;
constexpr auto verticalTick =
    R"(<line class="grid" x1="%1" y1="%2" x2="%1" y2="%3"/><text class="tick" x="%1" y="%4" text-anchor="middle">%5</text>
)"_L1;
constexpr auto horizontalTick =
    R"(<line class="grid" x1="%1" y1="%2" x2="%3" y2="%2"/><text class="tick" x="%4" y="%2" dy="4" text-anchor="end">%5</text>
)"_L1;
constexpr auto axisTitle =
    R"(<text class="axis" x="%1" y="%2" text-anchor="middle">%3</text>
)"_L1;
constexpr auto rowLabel =
    R"(<text class="row" x="%1" y="%2" dy="4" text-anchor="end">%3<title>%4</title></text>
)"_L1;
constexpr auto markLine =
    R"(<line class="mark" x1="%1" y1="%2" x2="%1" y2="%3"/><text class="marktext" x="%1" y="%4" text-anchor="middle">%5</text>
)"_L1;
constexpr auto dot =
    R"(<circle class="s%1" cx="%2" cy="%3" r="4.5"><title>%4</title></circle>
)"_L1;

QString pixels(double value)
{
    return QString::number(value, 'f', 1);
}

QString shortened(const QString &label)
{
    return label.size() > longestLabel ? label.left(longestLabel - 1) + u'…' : label;
}

QString svg(double height, const QString &title, const QString &content)
{
    return frame.arg(pixels(width), pixels(height), title.toHtmlEscaped(), content);
}

QList<double> valuesOf(const QList<PlotSeries> &series, const PlotAxis &axis,
                       double (QPointF::*coordinate)() const)
{
    QList<double> values;
    if (axis.mark)
        values.append(*axis.mark);
    for (const PlotSeries &one : series)
        for (const QPointF &point : one.points)
            values.append((point.*coordinate)());
    return values;
}

QString acrossAxis(const PlotScale &scale, const PlotAxis &axis, double bottom)
{
    QString text;
    const auto ticks = scale.ticks();
    for (const PlotScale::Tick &tick : ticks)
        text += verticalTick.arg(pixels(scale.pixel(tick.value)), pixels(top), pixels(bottom),
                                 pixels(bottom + 16), tick.text);
    text += axisTitle.arg(pixels((labelWidth + width - rightMargin) / 2), pixels(bottom + 36),
                          axis.title.toHtmlEscaped());
    if (axis.mark)
        text += markLine.arg(pixels(scale.pixel(*axis.mark)), pixels(top), pixels(bottom),
                             pixels(top - 4), axis.markText.toHtmlEscaped());
    return text;
}

bool isPoint(const QPointF &point)
{
    return std::isfinite(point.x()) && std::isfinite(point.y());
}

QString dotAt(qsizetype series, double x, double y, const QString &label)
{
    return dot.arg(QString::number(series % colours), pixels(x), pixels(y), label.toHtmlEscaped());
}

} // namespace

QString DotPlot::toSvg() const
{
    const double bottom = top + rowHeight * double(rows.size());
    const PlotScale scale(valuesOf(series, axis, &QPointF::x), axis.logarithmic, labelWidth,
                          width - rightMargin);
    QString content = acrossAxis(scale, axis, bottom);
    for (qsizetype row = 0; row < rows.size(); ++row)
        content +=
            rowLabel.arg(pixels(labelWidth - 10), pixels(top + rowHeight * (double(row) + 0.5)),
                         shortened(rows.at(row)).toHtmlEscaped(), rows.at(row).toHtmlEscaped());
    // Series that agree would hide each other: each has its own height within a row.
    const double spread = rowHeight * 0.6 / std::max<double>(1.0, double(series.size()));
    for (qsizetype i = 0; i < series.size(); ++i) {
        const PlotSeries &one = series.at(i);
        const double shift = (double(i) - double(series.size() - 1) / 2) * spread;
        for (qsizetype p = 0; p < one.points.size(); ++p)
            if (isPoint(one.points.at(p)))
                content += dotAt(i, scale.pixel(one.points.at(p).x()),
                                 top + rowHeight * (one.points.at(p).y() + 0.5) + shift,
                                 one.labels.value(p, one.name));
    }
    return svg(bottom + axisHeight, title, content);
}

QString ScatterPlot::toSvg() const
{
    const double bottom = top + scatterHeight;
    const PlotScale across(valuesOf(series, x, &QPointF::x), x.logarithmic, labelWidth,
                           width - rightMargin);
    const PlotScale up(valuesOf(series, y, &QPointF::y), y.logarithmic, bottom, top);
    QString content = acrossAxis(across, x, bottom);
    const auto ticks = up.ticks();
    for (const PlotScale::Tick &tick : ticks)
        content +=
            horizontalTick.arg(pixels(labelWidth), pixels(up.pixel(tick.value)),
                               pixels(width - rightMargin), pixels(labelWidth - 10), tick.text);
    content += axisTitle.arg(pixels(labelWidth / 2 - 20), pixels(top + scatterHeight / 2),
                             y.title.toHtmlEscaped());
    for (qsizetype i = 0; i < series.size(); ++i) {
        const PlotSeries &one = series.at(i);
        for (qsizetype p = 0; p < one.points.size(); ++p)
            if (isPoint(one.points.at(p)))
                content += dotAt(i, across.pixel(one.points.at(p).x()),
                                 up.pixel(one.points.at(p).y()), one.labels.value(p, one.name));
    }
    return svg(bottom + axisHeight, title, content);
}

} // namespace corvane::bench
