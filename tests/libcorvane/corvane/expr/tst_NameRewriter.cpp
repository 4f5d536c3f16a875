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
    // Of "w" to "width", unless something else is said.
    const auto row = [](const char *name, const char *text, const char *result,
                        const char *from = "w", const char *to = "width",
                        Kind kind = Kind::Variable) {
        const auto string = [](const char *latin1) { return QString::fromLatin1(latin1); };
        QTest::newRow(name) << string(text) << string(from) << string(to) << kind << string(result);
    };
    row("whole name", "w*2", "width*2");
    row("part of a name", "sw*2 + w2", "sw*2 + w2");
    row("default scope", "default.w", "default.width");
    row("swizzle of it", "w.x", "width.x");
    row("member of another", "v.w + w", "v.w + width");
    row("call", "w(1.0) + w", "w(1.0) + width");
    row("comment", "w /* w */", "width /* w */");
    row("quoted", "\"w\" + w", "width + width");
    row("to a name in need of quotes", "w*2", "\"left wall\"*2", "w", "left wall");
    row("to a reserved word", "w*2", "\"in\"*2", "w", "in");
    row("from quotes to quotes", "\"left wall\"*2", "\"right wall\"*2", "left wall", "right wall");
    row("in a varset", "size.w + w", "size.width + w", "size.w", "size.width");
    row("item", "Box.depth + w", "Crate.depth + w", "Box", "Crate", Kind::Instance);
    row("item in need of quotes", "Box.depth", "\"My Box\".depth", "Box", "My Box", Kind::Instance);
    row("item with the name of a variable", "both + both.depth", "both + q.depth", "both", "q",
        Kind::Instance);
    row("variable with the name of an item", "both + both.depth", "q + both.depth", "both", "q");
    row("pattern characters", "w + \"a+b\"", "w + c", "a+b", "c", Kind::Any);
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
