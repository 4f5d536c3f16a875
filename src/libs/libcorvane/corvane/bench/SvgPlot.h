#pragma once

#include <QList>
#include <QPointF>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvane::bench {

/// Points of one colour, which the reader finds in a legend. Colours are the classes "s0" to "s7"
/// of the page that the plot stands in, in turn.
struct PlotSeries
{
    QString name{};
    QList<QPointF> points{}; ///< no number in either coordinate: no point
    QStringList labels{};    ///< of each point, shown under the mouse
};

/// One axis. Of a logarithmic one only values above 0 can be shown; others stand at its low end.
struct PlotAxis
{
    QString title{};
    bool logarithmic = false;
    std::optional<double> mark{}; ///< a line across the plot
    QString markText{};
};

/// A value a row and series, rows from the top: what is compared stands on one line.
struct DotPlot
{
    QString title{};
    QStringList rows{};
    PlotAxis axis{};
    QList<PlotSeries> series{}; ///< points (value, row)

    QString toSvg() const;
};

/// Points of two values each.
struct ScatterPlot
{
    QString title{};
    PlotAxis x{}, y{};
    QList<PlotSeries> series{};

    QString toSvg() const;
};

} // namespace corvane::bench
