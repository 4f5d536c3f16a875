#include <corvane/expr/ExprGraph.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::expr;

namespace {

CompiledExpression reading(const QStringList &names)
{
    CompiledExpression compiled;
    compiled.dependencies = names;
    return compiled;
}

} // namespace

class TstExprGraph : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void cycleAndWhatHangsBelowAreLeftOut_data();
    void cycleAndWhatHangsBelowAreLeftOut();
    void wideAndDeepGraphsAreLinear();
};

void TstExprGraph::cycleAndWhatHangsBelowAreLeftOut_data()
{
    QTest::addColumn<QStringList>("edges"); // "reader<read"
    QTest::addColumn<QStringList>("cyclic");
    QTest::newRow("itself") << QStringList{u"a<a"_s} << QStringList{u"a"_s};
    QTest::newRow("two") << QStringList{u"a<b"_s, u"b<a"_s} << QStringList({u"a"_s, u"b"_s});
    QTest::newRow("hanging below") << QStringList{u"a<b"_s, u"b<a"_s, u"c<a"_s, u"d<x"_s}
                                   << QStringList({u"a"_s, u"b"_s, u"c"_s});
    QTest::newRow("none") << QStringList{u"a<b"_s, u"c<b"_s} << QStringList();
}

void TstExprGraph::cycleAndWhatHangsBelowAreLeftOut()
{
    QFETCH(const QStringList, edges);
    ExprGraph graph;
    for (const QString &edge : edges)
        graph.addExpression(edge.left(1), reading({edge.mid(2)}));
    QTEST(graph.detectCycles(), "cyclic");
}

void TstExprGraph::wideAndDeepGraphsAreLinear()
{
    ExprGraph graph;
    constexpr int count = 50000;
    for (int i = 0; i < count; ++i) {
        graph.addExpression(u"wide%1"_s.arg(i), reading({u"x"_s}));
        graph.addExpression(u"deep%1"_s.arg(i), reading({u"deep%1"_s.arg(i + 1)}));
    }
    const QStringList order = graph.topologicalOrder();
    QCOMPARE(order.size(), 2 * count);
    QVERIFY(order.indexOf(u"deep0"_s) > order.indexOf(u"deep%1"_s.arg(count - 1)));
    graph.updateLeaf(u"x"_s, 1);
    QVERIFY(graph.node(u"wide7"_s)->dirty);
}

QTEST_GUILESS_MAIN(TstExprGraph)
#include "tst_ExprGraph.moc"
