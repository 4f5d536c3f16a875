#include <corvane/model/NearestName.h>
#include <corvane/model/SceneWarning.h>

#include <QTest>

using namespace Qt::StringLiterals;
using corvane::model::SceneWarning;

class TstSceneWarning : public QObject
{
    Q_OBJECT

private slots:
    void isOneLine_data();
    void isOneLine();
    void theNearestNameIsMeant_data();
    void theNearestNameIsMeant();
};

void TstSceneWarning::isOneLine_data()
{
    QTest::addColumn<SceneWarning>("warning");
    QTest::addColumn<QString>("text");
    QTest::newRow("a statement") << SceneWarning{u"plate"_s, u"it is cut"_s, u"Enlarge the box"_s,
                                                 0}
                                 << u"Warning: plate: it is cut. Enlarge the box."_s;
    QTest::newRow("a question") << SceneWarning{u"plate"_s, u"unknown"_s, u"Did you mean \"x\"?"_s,
                                                12}
                                << u"Warning: line 12, plate: unknown. Did you mean \"x\"?"_s;
    QTest::newRow("only a line") << SceneWarning{QString(), u"a tab"_s, u"Use blanks"_s, 3}
                                 << u"Warning: line 3: a tab. Use blanks."_s;
    QTest::newRow("several lines") << SceneWarning{u"a\nb"_s, u"it\nfails"_s, u"Stop"_s, 0}
                                   << u"Warning: a b: it fails. Stop."_s;
}

void TstSceneWarning::isOneLine()
{
    QFETCH(SceneWarning, warning);
    QTEST(warning.toString(), "text");
}

void TstSceneWarning::theNearestNameIsMeant_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("nearest");
    QTest::newRow("a letter missing") << u"radus"_s << u"radius"_s;
    QTest::newRow("letters swapped") << u"raduis"_s << u"radius"_s;
    QTest::newRow("letters of a short name swapped") << u"sdie"_s << u"side"_s;
    QTest::newRow("another case") << u"cellsize"_s << u"cellSize"_s;
    QTest::newRow("the nearer of two") << u"radius3"_s << u"radius2"_s;
    QTest::newRow("nothing like it") << u"colour"_s << QString();
    QTest::newRow("another single letter") << u"q"_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("longer than any slip") << QString(10000, u'r') << QString();
}

void TstSceneWarning::theNearestNameIsMeant()
{
    QFETCH(QString, name);
    const QStringList known = {u"radius2"_s, u"radius"_s, u"cellSize"_s,
                               u"height"_s,  u"side"_s,   u"x"_s};
    QTEST(corvane::model::nearestName(name, known), "nearest");
}

QTEST_APPLESS_MAIN(TstSceneWarning)
#include "tst_SceneWarning.moc"
