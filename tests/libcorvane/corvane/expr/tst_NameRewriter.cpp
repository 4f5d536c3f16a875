#include <corvane/expr/ExpressionManager.h>
#include <corvane/expr/NameRewriter.h>
#include <corvane/model/Corvane.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::expr;

class TstNameRewriter : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void referencesAreReplaced_data();
    void referencesAreReplaced();
    void sceneFollowsARename_data();
    void sceneFollowsARename();
};

void TstNameRewriter::referencesAreReplaced_data()
{
    using Kind = RenamedKind;
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("result");
    const QString w = u"w"_s, width = u"width"_s;
    QTest::newRow("whole name") << u"w*2"_s << w << width << Kind::Variable << u"width*2"_s;
    QTest::newRow("part of a name")
        << u"sw*2 + w2"_s << w << width << Kind::Variable << u"sw*2 + w2"_s;
    QTest::newRow("default scope")
        << u"default.w"_s << w << width << Kind::Variable << u"default.width"_s;
    QTest::newRow("swizzle of it") << u"w.x"_s << w << width << Kind::Variable << u"width.x"_s;
    QTest::newRow("member of another")
        << u"v.w + w"_s << w << width << Kind::Variable << u"v.w + width"_s;
    QTest::newRow("call") << u"w(1.0) + w"_s << w << width << Kind::Variable << u"w(1.0) + width"_s;
    QTest::newRow("comment") << u"w /* w */"_s << w << width << Kind::Variable
                             << u"width /* w */"_s;
    QTest::newRow("quoted") << u"\"w\" + w"_s << w << width << Kind::Variable << u"width + width"_s;
    QTest::newRow("to a name in need of quotes")
        << u"w*2"_s << w << u"left wall"_s << Kind::Variable << u"\"left wall\"*2"_s;
    QTest::newRow("to a reserved word")
        << u"w*2"_s << w << u"in"_s << Kind::Variable << u"\"in\"*2"_s;
    QTest::newRow("from quotes to quotes")
        << u"\"left wall\"*2"_s << u"left wall"_s << u"right wall"_s << Kind::Variable
        << u"\"right wall\"*2"_s;
    QTest::newRow("in a varset") << u"size.w + w"_s << u"size.w"_s << u"size.width"_s
                                 << Kind::Variable << u"size.width + w"_s;
    QTest::newRow("item") << u"Box.depth + w"_s << u"Box"_s << u"Crate"_s << Kind::Instance
                          << u"Crate.depth + w"_s;
    QTest::newRow("item in need of quotes")
        << u"Box.depth"_s << u"Box"_s << u"My Box"_s << Kind::Instance << u"\"My Box\".depth"_s;
    QTest::newRow("item with the name of a variable")
        << u"both + both.depth"_s << u"both"_s << u"q"_s << Kind::Instance << u"both + q.depth"_s;
    QTest::newRow("variable with the name of an item")
        << u"both + both.depth"_s << u"both"_s << u"q"_s << Kind::Variable << u"q + both.depth"_s;
    QTest::newRow("pattern characters")
        << u"w + \"a+b\""_s << u"a+b"_s << u"c"_s << Kind::Any << u"w + c"_s;
}

void TstNameRewriter::referencesAreReplaced()
{
    QFETCH(const QString, text);
    QFETCH(const QString, from);
    QFETCH(const QString, to);
    QFETCH(const RenamedKind, kind);
    CompileContext context;
    for (const QString &name : {u"w"_s, u"v"_s, u"sw"_s, u"left wall"_s, u"size.w"_s,
                                u"Box.depth"_s, u"both"_s, u"both.depth"_s, u"a+b"_s})
        context.variables.insert(name, ExprType::Float);
    QTEST(rewriteName(text, from, to, kind, context), "result");
}

void TstNameRewriter::sceneFollowsARename_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("expected");
    QTest::newRow("variable") << u"variable"_s << u"width * Box.depth"_s;
    QTest::newRow("item") << u"item"_s << u"w * \"My Box\".depth"_s;
}

void TstNameRewriter::sceneFollowsARename()
{
    QFETCH(const QString, what);
    QFETCH(const QString, expected);
    model::Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 3.0});
    scene.setVariableEntry(u"d"_s, {.value = 0.0, .expression = u"w * Box.depth"_s});
    model::Instance box(u"box"_s);
    box.name = u"Box"_s;
    box.setParameter(u"depth"_s, 2.0);
    box.setExpression(u"height"_s, u"w * Box.depth"_s);
    scene.addItem(box);
    ExpressionManager manager(&scene);
    if (what == u"variable") {
        QVERIFY(scene.renameVariable(u"w"_s, u"width"_s));
    } else {
        box.name = u"My Box"_s;
        scene.updateItem(box);
    }
    QCOMPARE(scene.instance(box.id).parameterValue(u"height"_s).expression, expected);
    QCOMPARE(scene.variableEntry(u"d"_s).expression, expected);
    QCOMPARE(manager.errors(), QStringList());
    QCOMPARE(scene.instance(box.id).parameter(u"height"_s), QVariant(6.0f));
    QCOMPARE(manager.value(u"d"_s), QVariant(6.0f));
}

QTEST_GUILESS_MAIN(TstNameRewriter)
#include "tst_NameRewriter.moc"
