#include <corvane/bench/BenchReport.h>

#include <corvane/bench/BenchScore.h>
#include <corvane/bench/SvgPlot.h>
#include <corvane/shader/ShaderTemplates.h>

#include <cmath>

namespace corvane::bench {

using namespace Qt::StringLiterals;
using shader::ShaderTemplates;

namespace {

constexpr auto figure = R"(<figure><figcaption><b>%1</b> %2</figcaption>
%3</figure>
)"_L1;
constexpr auto legendEntry =
    R"(<li><svg viewBox="0 0 12 12"><circle class="s%1" cx="6" cy="6" r="4.5"/></svg>%2</li>
)"_L1;
constexpr auto summaryRow =
    R"(<tr><th scope="row">%1</th><td>%2</td><td>%3</td><td>%4</td><td>%5</td><td>%6</td><td>%7</td><td>%8</td><td class="text">%9</td></tr>
)"_L1;
constexpr auto cellRow =
    R"(<tr class="%1"><th scope="row">%2</th><td class="text">%3</td><td>%4</td><td>%5</td><td>%6</td><td>%7</td><td>%8</td><td>%9</td>%10</tr>
)"_L1;
constexpr auto cellEnd = R"(<td>%1</td><td>%2</td><td class="text">%3</td>)"_L1;
constexpr auto moreRow = R"(<tr><td class="text" colspan="11">%1 more in the database.</td></tr>
)"_L1;

QString number(double value, int digits = 3)
{
    return std::isfinite(value) ? QString::number(value, 'g', digits) : u"–"_s;
}

QString count(double value)
{
    return std::isfinite(value) ? QString::number(qint64(value)) : u"–"_s;
}

double inCells(double length, const BenchCellResult &cell)
{
    return length / cell.metrics.cellSize;
}

QString describe(const BenchPipelineDefinition &definition)
{
    const QString cell =
        definition.cellSize > 0 ? QString::number(double(definition.cellSize)) : u"of the scene"_s;
    const QString steps =
        definition.postprocess.isEmpty() ? u"no steps"_s : definition.postprocess.join(u", "_s);
    return u"%1 on %2, cell %3%4; %5"_s.arg(definition.extractor, definition.backend, cell,
                                            definition.sealed ? u", sealed"_s : QString(), steps);
}

/// What is summed over the cells of one definition.
struct Summary
{
    int cells = 0, exported = 0, passed = 0;
    double scores = 0, best = 0, seconds = 0, triangles = 0;

    void add(const BenchCellResult &cell)
    {
        ++cells;
        exported += cell.exportOk ? 1 : 0;
        passed += cell.gateOk ? 1 : 0;
        scores += cell.score;
        best = std::max(best, cell.score);
        if (std::isfinite(cell.metrics.exportSeconds))
            seconds += cell.metrics.exportSeconds;
        if (std::isfinite(cell.metrics.triangleCount))
            triangles += cell.metrics.triangleCount;
    }
};

QString verdict(const BenchCellResult &cell)
{
    if (!cell.exportOk)
        return u"failed"_s;
    return cell.gateOk ? u"passes"_s : u"gate missed"_s;
}

QString classOf(const BenchCellResult &cell)
{
    return cell.gateOk ? u"good"_s : cell.exportOk ? u"doubtful"_s : u"bad"_s;
}

} // namespace

QString BenchReport::toHtml() const
{
    const QString title = u"Mesh bench: %1"_s.arg(testSetName).toHtmlEscaped();
    return ShaderTemplates::fill(ShaderTemplates::load(u"bench_report.html.in"_s),
                                 {{"{{TITLE}}"_L1, title},
                                  {"{{HEADING}}"_L1, title},
                                  {"{{FACTS}}"_L1, facts()},
                                  {"{{SUMMARY_ROWS}}"_L1, summaryRows()},
                                  {"{{LEGEND}}"_L1, legend()},
                                  {"{{PLOTS}}"_L1, plots()},
                                  {"{{CELL_ROWS}}"_L1, cellRows()}});
}

QString BenchReport::facts() const
{
    const QString what = u"%1 scenes × %2 definitions, test set %3 of %4"_s.arg(
        QString::number(scenes.size()), QString::number(definitions.size()),
        QString::number(testSetId), database);
    const QString program = commit.isEmpty() ? QString() : u"; program of commit %1"_s.arg(commit);
    return (what + program + u'.').toHtmlEscaped();
}

QString BenchReport::legend() const
{
    QString text;
    for (qsizetype i = 0; i < definitions.size(); ++i)
        text += legendEntry.arg(QString::number(i % 8), definitions.at(i).name.toHtmlEscaped());
    return text;
}

QString BenchReport::summaryRows() const
{
    QList<Summary> sums(definitions.size());
    for (qsizetype i = 0; i < cells.size() && !sums.isEmpty(); ++i)
        sums[i % sums.size()].add(cells.at(i));
    QString text;
    for (qsizetype i = 0; i < sums.size(); ++i) {
        const Summary &sum = sums.at(i);
        text += summaryRow.arg(definitions.at(i).name.toHtmlEscaped(), QString::number(sum.cells),
                               QString::number(sum.exported), QString::number(sum.passed),
                               number(sum.cells > 0 ? sum.scores / sum.cells : 0), number(sum.best),
                               count(sum.triangles), number(sum.seconds),
                               describe(definitions.at(i)).toHtmlEscaped());
    }
    return text;
}

QString BenchReport::cellRows() const
{
    QString text;
    for (const BenchCellResult &cell : cells.first(std::min(cells.size(), mostTableRows))) {
        const MeshMetrics &m = cell.metrics;
        const QString end = cellEnd.arg(number(m.exportSeconds), number(m.metricsSeconds),
                                        cell.error.toHtmlEscaped());
        text +=
            cellRow.arg(classOf(cell), cell.scene.toHtmlEscaped(), cell.definition.toHtmlEscaped(),
                        verdict(cell), number(cell.score), number(inCells(m.surfaceP95, cell)),
                        number(inCells(m.featureP95, cell)), number(m.normalP95Deg),
                        count(m.triangleCount), end);
    }
    if (cells.size() > mostTableRows)
        text += moreRow.arg(QString::number(cells.size() - mostTableRows));
    return text;
}

// ------------------------------------------------------------------ plots

QString BenchReport::plots() const
{
    using Cell = const BenchCellResult &;
    static const struct
    {
        QString title, note;
        PlotAxis axis;
        Value value;
    } dotPlots[] = {
        {u"Score"_s,
         u"0 to 100, more is better."_s,
         {.title = u"score"_s},
         [](Cell cell) { return cell.score; }},
        {u"Distance of the vertices"_s,
         u"95th percentile in cells; the gate is at half a cell."_s,
         {.title = u"cells"_s,
          .logarithmic = true,
          .mark = gateSurfaceCells,
          .markText = u"gate"_s},
         [](Cell cell) { return inCells(cell.metrics.surfaceP95, cell); }},
        {u"Distance at sharp edges"_s,
         u"95th percentile in cells; none where a mesh has no sharp edge."_s,
         {.title = u"cells"_s, .logarithmic = true},
         [](Cell cell) { return inCells(cell.metrics.featureP95, cell); }},
        {u"Angle between triangle and field"_s,
         u"95th percentile by area."_s,
         {.title = u"degrees"_s},
         [](Cell cell) { return cell.metrics.normalP95Deg; }},
        {u"Smallest angle of a triangle"_s,
         u"Mean over all triangles; 60 is the best there is."_s,
         {.title = u"degrees"_s},
         [](Cell cell) { return cell.metrics.minAngleMeanDeg; }},
    };
    QString text;
    for (const auto &plot : dotPlots)
        text += dotPlot(plot.title, plot.note, plot.axis, plot.value);
    return text + costPlot();
}

QString BenchReport::dotPlot(const QString &title, const QString &note, const PlotAxis &axis,
                             Value value) const
{
    DotPlot plot{
        .title = title, .rows = scenes.first(std::min(scenes.size(), mostPlotRows)), .axis = axis};
    for (qsizetype i = 0; i < definitions.size(); ++i) {
        PlotSeries series{.name = definitions.at(i).name};
        for (qsizetype row = 0; row < plot.rows.size(); ++row) {
            const qsizetype index = row * definitions.size() + i;
            if (index >= cells.size())
                break;
            const BenchCellResult &cell = cells.at(index);
            // What has no mesh has no place among the meshes.
            const double shown = cell.error.isEmpty() ? value(cell) : MeshMetrics::none;
            series.points.append({shown, double(row)});
            series.labels.append(u"%1 × %2: %3"_s.arg(cell.scene, cell.definition, number(shown)));
        }
        plot.series.append(series);
    }
    return figure.arg(title.toHtmlEscaped(), note.toHtmlEscaped(), plot.toSvg());
}

QString BenchReport::costPlot() const
{
    ScatterPlot plot{.title = u"Cost"_s,
                     .x = {.title = u"triangles"_s, .logarithmic = true},
                     .y = {.title = u"seconds of export"_s, .logarithmic = true}};
    const qsizetype shown =
        std::min(cells.size(), mostPlotRows * std::max<qsizetype>(1, definitions.size()));
    for (qsizetype i = 0; i < definitions.size(); ++i) {
        PlotSeries series{.name = definitions.at(i).name};
        for (qsizetype index = i; index < shown; index += definitions.size()) {
            const BenchCellResult &cell = cells.at(index);
            series.points.append({cell.metrics.triangleCount, cell.metrics.exportSeconds});
            series.labels.append(u"%1 × %2: %3 triangles, %4 s"_s.arg(
                cell.scene, cell.definition, count(cell.metrics.triangleCount),
                number(cell.metrics.exportSeconds)));
        }
        plot.series.append(series);
    }
    return figure.arg(u"Cost"_s, u"Time of the export over the size of its mesh."_s, plot.toSvg());
}

} // namespace corvane::bench
