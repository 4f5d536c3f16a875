#include "TaskFixture.h"

#include <corvane/tasks/SceneErrorCounter.h>
#include <corvane/tasks/SceneErrors.h>

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::zirn;

class TstSceneErrors : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareTasks(m_home); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void newErrorsAreToldOnce();
    void errorsSayWhereTheyStand();
    void nodesAreKnownByTheirNames();
    void derivedVariablesHaveTheirTypes();
    void countFollowsAnyEdit();

private:
    QTemporaryDir m_home;
};

namespace {

ZirnTaskResult setParameter(TaskFixture &fixture, const QString &id, const QString &value)
{
    return fixture.call(u"corvane.sdf.set_parameter"_s,
                        {{u"itemId"_s, id}, {u"paramName"_s, u"radius"_s}, {u"value"_s, value}});
}

} // namespace

void TstSceneErrors::newErrorsAreToldOnce()
{
    TaskFixture fixture;
    const QString id = fixture.add(u"sphere"_s);
    setParameter(fixture, fixture.add(u"sphere"_s), u"=one"_s);
    setParameter(fixture, fixture.add(u"sphere"_s), u"=two"_s);
    const ZirnTaskResult third = setParameter(fixture, id, u"=three"_s);
    QCOMPARE(third.outputs.value(u"error_count"_s), u"3"_s);
    QCOMPARE(third.outputs.value(u"number_of_new_errors"_s), u"1"_s);
    QVERIFY2(third.message.endsWith(
                 u" NOTE: this introduced 1 new unresolved expression(s) (3 total). Call "
                 u"corvane.scene.list_errors to see each broken node's path and error."_s),
             qPrintable(third.message));
    const ZirnTaskResult next =
        fixture.call(u"corvane.item.rename"_s, {{u"itemId"_s, id}, {u"newName"_s, u"Ball"_s}});
    QCOMPARE(next.outputs.value(u"number_of_new_errors"_s), u"0"_s);
    const ZirnTaskResult repair = fixture.call(u"corvane.varset.set_variable"_s,
                                               {{u"name"_s, u"three"_s}, {u"value"_s, 3.0}});
    QCOMPARE(repair.outputs.value(u"error_count"_s), u"2"_s);
    QCOMPARE(repair.outputs.value(u"number_of_new_errors"_s), u"0"_s);
}

void TstSceneErrors::errorsSayWhereTheyStand()
{
    TaskFixture fixture;
    QCOMPARE(fixture.call(u"corvane.scene.list_errors"_s).message,
             u"No unresolved expressions \u2014 the scene is clean."_s);
    const QString top = fixture.add(u"union"_s, {{u"name"_s, u"Body"_s}});
    const QString ball = fixture.add(u"sphere"_s, {{u"name"_s, u"Ball"_s}, {u"parentId"_s, top}});
    setParameter(fixture, ball, u"=nowhere + 1"_s);
    fixture.call(u"corvane.varset.set_variable"_s,
                 {{u"name"_s, u"w"_s}, {u"value"_s, u"=missing"_s}});
    const auto errors = scanSceneErrors(*fixture.document, &fixture.tree);
    QCOMPARE(errors.size(), 2);
    QCOMPARE(errors.at(0).path, u"Body/Ball"_s);
    QCOMPARE(errors.at(0).itemId, ball);
    QCOMPARE(errors.at(0).location, u"radius"_s);
    QCOMPARE(errors.at(0).expression, u"nowhere + 1"_s);
    QVERIFY(!errors.at(0).error.isEmpty());
    QCOMPARE(errors.at(1).path, u"varset"_s);
    QCOMPARE(errors.at(1).location, u"varset:Default.w"_s);
}

/// Compiled or not, as long as one node alone has the name.
void TstSceneErrors::nodesAreKnownByTheirNames()
{
    TaskFixture fixture;
    const QString ball = fixture.add(u"sphere"_s, {{u"name"_s, u"Ball"_s}});
    const QString reader = fixture.add(u"sphere"_s, {{u"name"_s, u"Reader"_s}});
    const auto count = [&fixture] {
        const int counted = SceneErrorCounter::of(SceneAccess::current()).count();
        const auto listed = scanSceneErrors(*fixture.document, &fixture.tree);
        return counted == listed.size() ? counted : -1;
    };
    setParameter(fixture, reader, u"=Ball.radius"_s);
    QCOMPARE(count(), 1); // it has no radius yet
    setParameter(fixture, ball, u"=1.0 + 1.0"_s);
    QCOMPARE(count(), 0);
    fixture.tree.setInstanceName(QUuid::fromString(ball), u"Moon"_s);
    QCOMPARE(count(), 1);
    fixture.tree.setInstanceName(QUuid::fromString(ball), u"Ball"_s);
    QCOMPARE(count(), 0);
    fixture.tree.setInstanceName(QUuid::fromString(reader), u"Ball"_s);
    QCOMPARE(count(), 1);
}

/// What derives a variable says its type before anybody evaluates it.
void TstSceneErrors::derivedVariablesHaveTheirTypes()
{
    TaskFixture fixture;
    const auto set = [&](const QString &name, const QVariant &value) {
        return fixture
            .call(u"corvane.varset.set_variable"_s, {{u"name"_s, name}, {u"value"_s, value}})
            .outputs.value(u"error_count"_s);
    };
    QCOMPARE(set(u"half"_s, u"=w/2"_s), u"1"_s); // there is no w
    QCOMPARE(set(u"at"_s, u"=vec3(half*10, 0.0, default.half)"_s), u"1"_s);
    QCOMPARE(set(u"far"_s, u"=length(at.xy)"_s), u"1"_s);
    QCOMPARE(set(u"w"_s, 4.0), u"0"_s);
    QCOMPARE(set(u"half"_s, u"=vec3(w, w, w)"_s),
             u"2"_s); // no part of a vector: at, and far with it
}

void TstSceneErrors::countFollowsAnyEdit()
{
    TaskFixture fixture;
    QRandomGenerator random(7);
    QStringList ids;
    const QStringList names{u"a"_s, u"b"_s, u"c"_s};
    for (int step = 0; step < 300; ++step) {
        const QString name = names.at(random.bounded(3));
        const QString id = ids.isEmpty() ? QString() : ids.at(random.bounded(int(ids.size())));
        switch (random.bounded(id.isEmpty() ? 2 : 6)) {
        case 0:
            ids.append(fixture.add(u"sphere"_s));
            break;
        case 1: {
            // Of one type and another, and derived from one that may be there or not.
            const QVariantList values{random.bounded(9), QVariantList{1, 2, 3},
                                      u'=' + names.at(random.bounded(3)) + u".x"_s};
            fixture.call(u"corvane.varset.set_variable"_s,
                         {{u"name"_s, name},
                          {u"value"_s, values.at(random.bounded(3))},
                          {u"type"_s, random.bounded(2) > 0 ? u"vector"_s : u"number"_s}});
            break;
        }
        case 2:
            if (fixture.document->hasVariable(name))
                fixture.call(u"corvane.varset.remove_variable"_s, {{u"name"_s, name}});
            break;
        case 3:
            setParameter(fixture, id, u'=' + name + (random.bounded(2) > 0 ? u".y"_s : QString()));
            break;
        case 4:
            fixture.call(u"corvane.item.remove"_s, {{u"itemId"_s, id}});
            ids.removeAll(id);
            break;
        case 5:
            fixture.call(u"corvane.item.duplicate"_s, {{u"sourceId"_s, id}});
            break;
        }
        const SceneAccess access = SceneAccess::current();
        QCOMPARE(SceneErrorCounter::of(access).count(),
                 int(scanSceneErrors(*fixture.document, &fixture.tree).size()));
    }
}

QTEST_MAIN(TstSceneErrors)
#include "tst_SceneErrors.moc"
