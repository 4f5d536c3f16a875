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

    void orderPutsReadersLast();
    void cycleAndWhatHangsBelowAreLeftOut_data();
    void cycleAndWhatHangsBelowAreLeftOut();
    void replacedExpressionReadsOnlyTheNew();
    void changedLeafMarksAllAboveIt();
    void aliasStandsForItsTarget();
    void removedNodeIsUnlinked();
    void wideAndDeepGraphsAreLinear();
};

void TstExprGraph::orderPutsReadersLast()
{
    ExprGraph graph;
    graph.addExpression(u"a"_s, reading({u"b"_s, u"c"_s}));
    graph.addExpression(u"b"_s, reading({u"c"_s, u"x"_s}));
    graph.addExpression(u"c"_s, reading({}));
    QCOMPARE(graph.topologicalOrder(), QStringList({u"c"_s, u"b"_s, u"a"_s}));
    QVERIFY(graph.contains(u"x"_s));
    QVERIFY(!graph.node(u"x"_s)->isExpression);
    QVERIFY(graph.detectCycles().isEmpty());
    graph.clear();
    QVERIFY(graph.topologicalOrder().isEmpty());
}

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

void TstExprGraph::replacedExpressionReadsOnlyTheNew()
{
    ExprGraph graph;
    graph.addExpression(u"a"_s, reading({u"b"_s}));
    graph.addExpression(u"b"_s, reading({u"a"_s}));
    QCOMPARE(graph.detectCycles().size(), 2);
    graph.addExpression(u"b"_s, reading({u"x"_s}));
    QCOMPARE(graph.topologicalOrder(), QStringList({u"b"_s, u"a"_s}));
    graph.addLeaf(u"b"_s, 1);
    QCOMPARE(graph.topologicalOrder(), QStringList({u"a"_s}));
    QVERIFY(graph.node(u"x"_s)->dependents.isEmpty());
}

void TstExprGraph::changedLeafMarksAllAboveIt()
{
    ExprGraph graph;
    graph.addLeaf(u"x"_s, 1);
    graph.addExpression(u"a"_s, reading({u"x"_s}));
    graph.addExpression(u"b"_s, reading({u"a"_s}));
    graph.addExpression(u"c"_s, reading({u"y"_s}));
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        graph.setResult(name, 0);
    graph.updateLeaf(u"x"_s, 1);
    QVERIFY(!graph.node(u"a"_s)->dirty);
    graph.updateLeaf(u"x"_s, 2);
    QVERIFY(graph.node(u"a"_s)->dirty && graph.node(u"b"_s)->dirty);
    QVERIFY(!graph.node(u"c"_s)->dirty);
    graph.updateLeaf(u"new"_s, 3);
    QCOMPARE(graph.node(u"new"_s)->value, QVariant(3));
}

void TstExprGraph::aliasStandsForItsTarget()
{
    ExprGraph graph;
    graph.addExpression(u"reader"_s, reading({u"Box.w"_s}));
    graph.addExpression(u"target"_s, reading({u"x"_s}));
    graph.addAlias(u"Box.w"_s, u"target"_s, 1);
    QCOMPARE(graph.topologicalOrder(), QStringList({u"target"_s, u"reader"_s}));
    graph.setResult(u"reader"_s, 0);
    graph.updateLeaf(u"x"_s, 5);
    QVERIFY(graph.node(u"reader"_s)->dirty);
    graph.addExpression(u"target"_s, reading({u"reader"_s}));
    QCOMPARE(graph.detectCycles(), QStringList({u"reader"_s, u"target"_s}));
}

void TstExprGraph::removedNodeIsUnlinked()
{
    ExprGraph graph;
    graph.addExpression(u"a"_s, reading({u"b"_s}));
    graph.addExpression(u"b"_s, reading({u"x"_s}));
    graph.removeNode(u"b"_s);
    graph.removeNode(u"b"_s);
    QVERIFY(graph.node(u"a"_s)->dependencies.isEmpty());
    QVERIFY(graph.node(u"x"_s)->dependents.isEmpty());
    QCOMPARE(graph.topologicalOrder(), QStringList({u"a"_s}));
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
