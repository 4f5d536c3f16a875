#include <corvane/camera/SceneBounds.h>
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::BoundingVolume;

namespace {

constexpr auto sceneText = "formatVersion: 1\n"
                           "corvane:\n"
                           "  instances:\n"
                           "%1"
                           "  roots:\n"
                           "%2";

} // namespace

class TstSceneBounds : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void theBoxIsThatOfWhatIsDrawn_data();
    void theBoxIsThatOfWhatIsDrawn();
};

void TstSceneBounds::theBoxIsThatOfWhatIsDrawn_data()
{
    QTest::addColumn<QString>("instances");
    QTest::addColumn<QString>("roots");
    QTest::addColumn<QVector3D>("minimum");
    QTest::addColumn<QVector3D>("maximum");
    const QString ball = u"    ball: {type: sphere, params: {radius: 2.0}}\n"_s;
    const QString away = u"    away: {type: translate, params: {offset: [30.0, 0.0, 0.0], "
                         "children: [\"@ball\"]}}\n"_s;
    const QString wall = u"    wall: {type: plane}\n"_s;
    QTest::newRow("ball") << ball << u"    - ball\n"_s << QVector3D(-2, -2, -2)
                          << QVector3D(2, 2, 2);
    QTest::newRow("moved ball") << ball + away << u"    - away\n"_s << QVector3D(28, -2, -2)
                                << QVector3D(32, 2, 2);
    QTest::newRow("both") << ball + away << u"    - ball\n    - away\n"_s << QVector3D(-2, -2, -2)
                          << QVector3D(32, 2, 2);
    QTest::newRow("endless") << wall << u"    - wall\n"_s << QVector3D() << QVector3D();
}

void TstSceneBounds::theBoxIsThatOfWhatIsDrawn()
{
    QFETCH(QString, instances);
    QFETCH(QString, roots);
    QFETCH(QVector3D, minimum);
    QFETCH(QVector3D, maximum);
    const auto parsed = corvane::model::CorvaneDSLParser::parseText(
        QString::fromLatin1(sceneText).arg(instances, roots));
    QVERIFY(parsed.ok());
    const BoundingVolume box = corvane::camera::sceneAabb(*parsed.scene);
    QCOMPARE(box.isEmpty(), minimum == maximum);
    const float slack = 0.02f * (maximum - minimum).length();
    for (int axis = 0; axis < 3 && !box.isEmpty(); ++axis) {
        QVERIFY(box.minimum()[axis] <= minimum[axis] &&
                box.minimum()[axis] > minimum[axis] - slack);
        QVERIFY(box.maximum()[axis] >= maximum[axis] &&
                box.maximum()[axis] < maximum[axis] + slack);
    }
}

QTEST_GUILESS_MAIN(TstSceneBounds)
#include "tst_SceneBounds.moc"
