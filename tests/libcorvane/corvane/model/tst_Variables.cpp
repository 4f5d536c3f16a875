#include <corvane/model/Corvane.h>

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::model;

class TstVariables : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void entriesReadBack_data();
    void entriesReadBack();
    void derivedVariableNeedsNoValue();
    void dottedNamesResolve();
    void orderHoldsEachNameOnce();
    void renamingStaysInTheVarset_data();
    void renamingStaysInTheVarset();
    void entriesMoveBetweenVarsets();
    void namedVarsetKeepsTheOrderItHad();
    void changesAreTold();
};

void TstVariables::entriesReadBack_data()
{
    QTest::addColumn<VarsetEntry>("entry");
    QTest::addColumn<bool>("isBare");
    QTest::newRow("bare number") << VarsetEntry{.value = 4} << true;
    QTest::newRow("nothing") << VarsetEntry{} << true;
    QTest::newRow("unit") << VarsetEntry{.value = 4, .unit = u"mm"_s} << false;
    QTest::newRow("expression") << VarsetEntry{.value = {}, .expression = u"a"_s} << false;
    QTest::newRow("constraints")
        << VarsetEntry{.value = 1.5,
                       .type = u"number"_s,
                       .description = u"how wide"_s,
                       .constraints = {.min = 1, .max = 2.5, .step = 0.5, .enumValues = {u"a"_s}}}
        << false;
    QTest::newRow("map that looks like the long form")
        << VarsetEntry{.value = QVariantMap{{u"value"_s, 1}}} << false;
    QTest::newRow("map that looks like a derived variable")
        << VarsetEntry{.value = QVariantMap{{u"expression"_s, u"a"_s}}} << false;
    QTest::newRow("other map") << VarsetEntry{.value = QVariantMap{{u"x"_s, 1}}} << true;
}

void TstVariables::entriesReadBack()
{
    QFETCH(const VarsetEntry, entry);
    const QVariant written = entry.toVariant();
    QCOMPARE(VarsetEntry::fromVariant(written), entry);
    QTEST(written == entry.value, "isBare");
}

void TstVariables::derivedVariableNeedsNoValue()
{
    const auto entry = VarsetEntry::fromVariant(QVariantMap{{u"expression"_s, u"width/2"_s}});
    QCOMPARE(entry, (VarsetEntry{.value = {}, .expression = u"width/2"_s}));
}

void TstVariables::dottedNamesResolve()
{
    Corvane scene;
    scene.setNamedVarset(u"a"_s, {{u"b"_s, {.value = 1}}, {u"c.d"_s, {.value = 3}}});
    QCOMPARE(scene.variableEntry(u"a.b"_s).value, QVariant(1));
    QCOMPARE(scene.variableEntry(u"a.c.d"_s).value, QVariant(3));
    scene.setVariableEntry(u"a.b"_s, {.value = 2});
    QCOMPARE(scene.namedVarset(u"a"_s).value(u"b"_s).value, QVariant(2));
    scene.setVariableEntry(u"x.y"_s, {.value = 5});
    QCOMPARE(scene.varset().value(u"x.y"_s), QVariant(5));
    scene.setVariableEntry(u".x"_s, {.value = 6});
    QVERIFY(scene.hasVariable(u".x"_s));
    scene.removeVariable(u".x"_s);
    QVERIFY(!scene.hasVariable(u".x"_s));
    QVERIFY(!scene.hasVariable(u"a"_s));

    // An entry of the unnamed varset hides the one that the dot would address.
    VarsetTable table;
    table.setNamed(u"a"_s, {{u"b"_s, {.value = 1}}});
    table.setEntries({{u"a.b"_s, {.value = 9}}}, {});
    QCOMPARE(table.entry(u"a.b"_s)->value, QVariant(9));
}

void TstVariables::orderHoldsEachNameOnce()
{
    VarsetTable table;
    table.setEntries({{u"a"_s, {}}, {u"b"_s, {}}, {u"c"_s, {}}},
                     {u"c"_s, u"gone"_s, u"c"_s, u"a"_s});
    QCOMPARE(table.order(), QStringList({u"c"_s, u"a"_s}));
    QCOMPARE(table.variableNames(), QStringList({u"c"_s, u"a"_s, u"b"_s}));
    table.set(u"d"_s, {});
    table.remove(u"c"_s);
    QCOMPARE(table.variableNames(), QStringList({u"a"_s, u"d"_s, u"b"_s}));
    QVERIFY(!table.remove(u"c"_s));
}

void TstVariables::renamingStaysInTheVarset_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("result"); // empty: refused
    QTest::newRow("unnamed") << u"w"_s << u"width"_s << u"width"_s;
    QTest::newRow("unnamed to a dotted name") << u"w"_s << u"size.width"_s << u"size.width"_s;
    QTest::newRow("taken") << u"w"_s << u"h"_s << QString();
    QTest::newRow("unknown") << u"q"_s << u"r"_s << QString();
    QTest::newRow("to nothing") << u"w"_s << QString() << QString();
    QTest::newRow("named, bare") << u"size.x"_s << u"y"_s << u"size.y"_s;
    QTest::newRow("named, in full") << u"size.x"_s << u"size.y"_s << u"size.y"_s;
    QTest::newRow("named, to another varset") << u"size.x"_s << u"other.y"_s << QString();
}

void TstVariables::renamingStaysInTheVarset()
{
    QFETCH(const QString, from);
    QFETCH(const QString, to);
    QFETCH(const QString, result);
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 1});
    scene.setVariableEntry(u"h"_s, {.value = 2});
    scene.setNamedVarset(u"size"_s, {{u"x"_s, {.value = 3}}});
    const QVariant value = scene.variableEntry(from).value;
    QSignalSpy renamed(&scene, &Corvane::variableRenamed);
    QCOMPARE(scene.renameVariable(from, to), !result.isEmpty());
    QCOMPARE(renamed.size(), result.isEmpty() ? 0 : 1);
    if (result.isEmpty())
        return;
    QCOMPARE(renamed.at(0), QVariantList({from, result}));
    QCOMPARE(scene.variableEntry(result).value, value);
    QVERIFY(!scene.hasVariable(from));
}

void TstVariables::entriesMoveBetweenVarsets()
{
    Corvane scene;
    scene.setVariableEntry(u"w"_s, {.value = 1});
    QVERIFY(scene.moveEntryToVarset(u"w"_s, {}, u"size"_s));
    QVERIFY(!scene.hasVariable(u"w"_s));
    QCOMPARE(scene.variableEntry(u"size.w"_s).value, QVariant(1));
    QCOMPARE(scene.namedVarsetEntryOrder(u"size"_s), QStringList{u"w"_s});
    QVERIFY(!scene.moveEntryToVarset(u"w"_s, u"nowhere"_s, {}));
    scene.setVariableEntry(u"w"_s, {.value = 2});
    QVERIFY(!scene.moveEntryToVarset(u"w"_s, {}, u"size"_s));
    QCOMPARE(scene.variableEntry(u"w"_s).value, QVariant(2));
}

void TstVariables::namedVarsetKeepsTheOrderItHad()
{
    Corvane scene;
    scene.setNamedVarset(u"s"_s, {{u"a"_s, {}}, {u"b"_s, {}}});
    scene.setNamedVarset(u"s"_s, {{u"b"_s, {}}, {u"0"_s, {}}});
    QCOMPARE(scene.namedVarsetEntryOrder(u"s"_s), QStringList({u"b"_s, u"0"_s}));
    scene.removeNamedVarset(u"s"_s);
    QVERIFY(scene.namedVarsets().isEmpty());
    QVERIFY(scene.namedVarsetEntryOrder(u"s"_s).isEmpty());
}

void TstVariables::changesAreTold()
{
    Corvane scene;
    QSignalSpy varset(&scene, &Corvane::varsetChanged);
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    scene.setVariableEntry(u"w"_s, {.value = 1});
    scene.setVariableEntries({{u"w"_s, {.value = 2}}, {u"h"_s, {.value = 3}}});
    QCOMPARE(varset.size(), 2);
    QCOMPARE(changed.size(), 2);
    QCOMPARE(scene.varset(), QVariantMap({{u"w"_s, 2}, {u"h"_s, 3}}));
    scene.setVariableEntry(u"w"_s, {.value = 2});
    scene.removeVariable(u"absent"_s);
    QCOMPARE(varset.size(), 2);
    QVERIFY(scene.storeEvaluatedVariable(u"w"_s, 5.0f));
    QVERIFY(!scene.storeEvaluatedVariable(u"w"_s, 5.0f));
    QVERIFY(!scene.storeEvaluatedVariable(u"absent"_s, 5.0f));
    QCOMPARE(varset.size(), 2);
    QCOMPARE(scene.varset().value(u"w"_s), QVariant(5.0f));
}

QTEST_GUILESS_MAIN(TstVariables)
#include "tst_Variables.moc"
