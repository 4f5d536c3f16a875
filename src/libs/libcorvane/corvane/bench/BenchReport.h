#pragma once

#include <corvane/bench/MeshExportBench.h>

#include <QList>
#include <QStringList>

namespace corvane::bench {

/// A finished bench as a page for a browser: a sum for each definition, plots, and a row for each
/// cell. One file that needs no other, and no network. All texts that come from scenes, definitions
/// and errors are escaped.
struct BenchReport
{
    static constexpr qsizetype mostPlotRows = 200; ///< scenes in a plot
    static constexpr qsizetype mostTableRows = 5000;

    QString testSetName{};
    qint64 testSetId = -1;
    QString database{}; ///< as it may be shown
    QString commit{};
    QStringList scenes{};
    QList<BenchPipelineDefinition> definitions{};
    QList<BenchCellResult> cells{}; ///< by scene, then by definition

    /// The template "bench_report.html.in", filled.
    QString toHtml() const;

private:
    using Value = double (*)(const BenchCellResult &);

    QString facts() const;
    QString legend() const;
    QString summaryRows() const;
    QString cellRows() const;
    QString plots() const;
    QString dotPlot(const QString &title, const QString &note, const struct PlotAxis &axis,
                    Value value) const;
    QString costPlot() const;
};

} // namespace corvane::bench
