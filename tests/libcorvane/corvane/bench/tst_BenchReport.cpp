#include <corvane/bench/BenchReport.h>
#include <corvane/bench/PlotScale.h>
#include <corvane/bench/SvgPlot.h>

#include <QRegularExpression>
#include <QTest>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;
using namespace corvane::bench;

namespace {

BenchCellResult cellOf(const QString &scene, const QString &definition, double surface)
{
    BenchCellResult cell{.scene = scene, .definition = definition};
    cell.exportOk = cell.gateOk = true;
    cell.score = 80;
    cell.metrics.surfaceP95 = surface;
    cell.metrics.cellSize = 0.1;
    cell.metrics.triangleCount = 1000;
    cell.metrics.exportSeconds = 0.5;
    return cell;
}

// What a strict reader says of a piece of XML; empty when it is well-formed.
QString xmlError(const QString &text)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd())
        reader.readNext();
    return reader.errorString();
}

QStringList matches(const QString &text, const QString &pattern)
{
    QStringList found;
    auto it = QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption)
                  .globalMatch(text);
    while (it.hasNext())
        found.append(it.next().captured());
    return found;
}

} // namespace

class TstBenchReport : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void pageHoldsItsFigures()
    {
        const BenchReport report = twoByTwo();
        const QString html = report.toHtml();
        for (const QString &text : {u"Mesh bench: nightly"_s, u"2 scenes × 2 definitions"_s,
                                    u"test set 7 of results.db"_s, u"commit abc"_s, u"ball"_s,
                                    u"plate"_s, u"DC on CPU, cell 0.25, sealed; weld"_s})
            QVERIFY2(html.contains(text), qPrintable(text));
        QVERIFY(!html.contains(u"{{"_s));
        const QStringList plots = matches(html, u"<svg viewBox=\"0 0 860.*?</svg>"_s);
        QCOMPARE(plots.size(), 6);
        for (const QString &plot : plots)
            QCOMPARE(xmlError(plot), QString());
        // A mark for each mesh, none for the cell that failed.
        QCOMPARE(matches(plots.at(1), u"<circle"_s).size(), 3);
        QVERIFY(html.contains(u"export failed: no room"_s));
        QCOMPARE(matches(html, u"<tr class=\"(good|bad)\">"_s).size(), 4);
    }

    void pageNeedsNothingElse()
    {
        const QString html = twoByTwo().toHtml();
        for (const QString &link : {u"http:"_s, u"https:"_s, u"src="_s, u"href="_s, u"@import"_s,
                                    u"url("_s, u"<script"_s})
            QVERIFY2(!html.contains(link), qPrintable(link));
    }

    void foreignTextsAreEscaped()
    {
        const QString evil = u"<script>%1 \"&' {{PLOTS}}</script>"_s;
        BenchReport report{.testSetName = evil,
                           .database = evil,
                           .commit = evil,
                           .scenes = {evil},
                           .definitions = {{.name = evil, .extractor = evil}},
                           .cells = {cellOf(evil, evil, 0.01)}};
        report.cells.first().error = evil;
        const QString html = report.toHtml();
        QVERIFY(!html.contains(u"<script"_s));
        QVERIFY(html.contains(u"&lt;script&gt;%1 &quot;&amp;"_s));
        const QStringList plots = matches(html, u"<svg viewBox=\"0 0 860.*?</svg>"_s);
        QCOMPARE(plots.size(), 6);
    }

    void largeSetsStaySmall()
    {
        BenchReport report{.definitions = {{.name = u"mc"_s}}};
        for (int i = 0; i < 6000; ++i) {
            report.scenes.append(u"scene %1"_s.arg(i));
            report.cells.append(cellOf(report.scenes.last(), u"mc"_s, 0.01));
        }
        const QString html = report.toHtml();
        QCOMPARE(matches(html, u"<tr class=\"good\">"_s).size(), int(BenchReport::mostTableRows));
        QVERIFY(html.contains(u"1000 more in the database."_s));
        QVERIFY(html.size() < 3'000'000);
    }

    void emptyPlotsAreWellFormed()
    {
        QCOMPARE(xmlError(DotPlot{.title = u"a & b"_s}.toSvg()), QString());
        QCOMPARE(xmlError(ScatterPlot{.x = {.title = u"<x>"_s, .logarithmic = true}}.toSvg()),
                 QString());
    }

    void scaleHasRoundNumbers_data()
    {
        QTest::addColumn<QList<double>>("values");
        QTest::addColumn<bool>("logarithmic");
        QTest::addColumn<QStringList>("ticks");
        QTest::newRow("score") << QList<double>{12, 97} << false
                               << QStringList{u"0"_s, u"20"_s, u"40"_s, u"60"_s, u"80"_s, u"100"_s};
        QTest::newRow("small") << QList<double>{0.031} << false
                               << QStringList{u"0"_s, u"0.01"_s, u"0.02"_s, u"0.03"_s, u"0.04"_s};
        QTest::newRow("all the same, 0")
            << QList<double>{0, 0} << false << QStringList{u"0"_s, u"0.2"_s};
        QTest::newRow("decades") << QList<double>{0.002, 0.5, -1, qQNaN()} << true
                                 << QStringList{u"0.001"_s, u"0.01"_s, u"0.1"_s, u"1"_s};
        QTest::newRow("one power of ten")
            << QList<double>{10} << true << QStringList{u"10"_s, u"100"_s};
        QTest::newRow("nothing") << QList<double>{qInf()} << false << QStringList{u"0"_s, u"1"_s};
    }
    void scaleHasRoundNumbers()
    {
        QFETCH(QList<double>, values);
        QFETCH(bool, logarithmic);
        QFETCH(QStringList, ticks);
        const PlotScale scale(values, logarithmic, 100, 200);
        QStringList texts;
        const auto made = scale.ticks();
        for (const PlotScale::Tick &tick : made) {
            texts.append(tick.text);
            QVERIFY(scale.pixel(tick.value) >= 100 - 1e-9 && scale.pixel(tick.value) <= 200 + 1e-9);
        }
        QCOMPARE(texts, ticks);
        QCOMPARE(scale.pixel(made.first().value), 100.0);
    }

private:
    static BenchReport twoByTwo()
    {
        BenchReport report{.testSetName = u"nightly"_s,
                           .testSetId = 7,
                           .database = u"results.db"_s,
                           .commit = u"abc"_s,
                           .scenes = {u"ball"_s, u"plate"_s},
                           .definitions = {{.name = u"mc"_s},
                                           {.name = u"dc"_s,
                                            .extractor = u"DC"_s,
                                            .cellSize = 0.25f,
                                            .sealed = true,
                                            .postprocess = {u"weld"_s}}},
                           .cells = {cellOf(u"ball"_s, u"mc"_s, 0.01),
                                     cellOf(u"ball"_s, u"dc"_s, 0.02),
                                     cellOf(u"plate"_s, u"mc"_s, 0.03),
                                     {}}};
        report.cells.last() = {.scene = u"plate"_s, .definition = u"dc"_s};
        report.cells.last().error = u"export failed: no room"_s;
        return report;
    }
};

QTEST_GUILESS_MAIN(TstBenchReport)
#include "tst_BenchReport.moc"
