#include <corvane/rendering/environment/SettingsTable.h>

#include <QColor>
#include <QRegularExpression>
#include <QTest>
#include <QVector4D>

using namespace Qt::StringLiterals;
using corvane::rendering::SettingRow;
using corvane::rendering::SettingsTable;

namespace {

SettingsTable makeTable()
{
    return SettingsTable({SettingRow::number(u"size"_s, u"Size"_s, 2.0, 1.0, 10.0, 0.5)
                              .inUnit(u"mm"_s)
                              .described(u"How large"_s),
                          SettingRow::color(u"tint"_s, u"Tint"_s, {0.1f, 0.2f, 0.3f}),
                          SettingRow::flag(u"on"_s, u"On"_s, false),
                          SettingRow::text(u"kind"_s, u"Kind"_s, u"a"_s, {u"a"_s, u"b"_s})});
}

} // namespace

class TstSettingsTable : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void valuesThatFitAreKept_data();
    void valuesThatFitAreKept();
    void othersAreRefusedAndChangeNothing_data();
    void othersAreRefusedAndChangeNothing();
    void rowsDescribeThemselves();
};

void TstSettingsTable::valuesThatFitAreKept_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("given");
    QTest::addColumn<QVariant>("kept");
    QTest::newRow("number") << u"size"_s << QVariant(3.5) << QVariant(3.5);
    QTest::newRow("least number") << u"size"_s << QVariant(1) << QVariant(1.0);
    QTest::newRow("greatest number") << u"size"_s << QVariant(10.0f) << QVariant(10.0);
    QTest::newRow("text of a number") << u"size"_s << QVariant(u"4.25"_s) << QVariant(4.25);
    const QVector3D tint(0.5f, 1.0f, 0.0f);
    QTest::newRow("vector") << u"tint"_s << QVariant(tint) << QVariant(tint);
    QTest::newRow("colour with alpha")
        << u"tint"_s << QVariant(QVector4D(tint, 0.5f)) << QVariant(tint);
    QTest::newRow("list") << u"tint"_s << QVariant(QVariantList{0.5, 1, 0.0}) << QVariant(tint);
    QTest::newRow("QColor") << u"tint"_s << QVariant(QColor(255, 0, 0))
                            << QVariant(QVector3D(1, 0, 0));
    QTest::newRow("flag") << u"on"_s << QVariant(true) << QVariant(true);
    QTest::newRow("choice") << u"kind"_s << QVariant(u"b"_s) << QVariant(u"b"_s);
}

void TstSettingsTable::valuesThatFitAreKept()
{
    QFETCH(QString, name);
    QFETCH(QVariant, given);
    QFETCH(QVariant, kept);
    SettingsTable table = makeTable();
    QVERIFY(table.setValue(name, given));
    QCOMPARE(table.value(name), kept);
}

void TstSettingsTable::othersAreRefusedAndChangeNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("given");
    QTest::newRow("unknown name") << u"sise"_s << QVariant(2.0);
    QTest::newRow("below the range") << u"size"_s << QVariant(0.999);
    QTest::newRow("above the range") << u"size"_s << QVariant(11);
    QTest::newRow("no number") << u"size"_s << QVariant(qQNaN());
    QTest::newRow("endless") << u"size"_s << QVariant(qInf());
    QTest::newRow("word") << u"size"_s << QVariant(u"large"_s);
    QTest::newRow("flag for a number") << u"size"_s << QVariant(true);
    QTest::newRow("nothing") << u"size"_s << QVariant();
    QTest::newRow("negative colour") << u"tint"_s << QVariant(QVector3D(0, -0.1f, 0));
    QTest::newRow("colour of NaN") << u"tint"_s << QVariant(QVector3D(0, 0, qQNaN()));
    QTest::newRow("short list") << u"tint"_s << QVariant(QVariantList{1, 2});
    QTest::newRow("list of words") << u"tint"_s << QVariant(QVariantList{1, u"x"_s, 2});
    QTest::newRow("no colour") << u"tint"_s << QVariant(QColor());
    QTest::newRow("number for a flag") << u"on"_s << QVariant(1);
    QTest::newRow("no choice") << u"kind"_s << QVariant(u"c"_s);
    QTest::newRow("number for a text") << u"kind"_s << QVariant(1);
}

void TstSettingsTable::othersAreRefusedAndChangeNothing()
{
    QFETCH(QString, name);
    QFETCH(QVariant, given);
    SettingsTable table = makeTable();
    QVERIFY(!table.setValue(name, given));
    for (const auto &definition : table.definitions())
        QCOMPARE(table.value(definition.name), definition.defaultValue);
    QVERIFY(!table.value(u"sise"_s).isValid());
}

void TstSettingsTable::rowsDescribeThemselves()
{
    const auto definitions = makeTable().definitions();
    QCOMPARE(definitions.size(), 4);
    const auto &size = definitions.constFirst();
    QCOMPARE(size.name, u"size"_s);
    QCOMPARE(size.displayName, u"Size"_s);
    QCOMPARE(size.description, u"How large"_s);
    QCOMPARE(size.unit, u"mm"_s);
    QCOMPARE(size.minValue.toDouble(), 1.0);
    QCOMPARE(size.maxValue.toDouble(), 10.0);
    QCOMPARE(size.stepValue.toDouble(), 0.5);
    QCOMPARE(makeTable().choices(u"kind"_s), QStringList({u"a"_s, u"b"_s}));
    QVERIFY(makeTable().choices(u"size"_s).isEmpty());
}

QTEST_GUILESS_MAIN(TstSettingsTable)
#include "tst_SettingsTable.moc"
