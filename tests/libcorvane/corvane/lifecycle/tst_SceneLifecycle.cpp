#include <corvane/lifecycle/SceneLifecycle.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::lifecycle::SceneLifecycle;
using Phase = SceneLifecycle::Phase;

namespace {

/// Steps by name, a failing one with a "!" before it; what ran is written down.
QList<SceneLifecycle::NamedStep> steps(const QStringList &names, QStringList *ran)
{
    QList<SceneLifecycle::NamedStep> made;
    for (const QString &name : names) {
        const bool fails = name.startsWith(u'!');
        made.append({name, [name, fails, ran](QString *error) {
                         ran->append(name);
                         if (fails)
                             *error = u"no room"_s;
                         return !fails;
                     }});
    }
    return made;
}

} // namespace

class TstSceneLifecycle : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void stepsRunInTheirOrder_data();
    void stepsRunInTheirOrder();
    void aTransitionInATransitionIsRefused();
};

void TstSceneLifecycle::stepsRunInTheirOrder_data()
{
    QTest::addColumn<QStringList>("teardown");
    QTest::addColumn<QStringList>("load");
    QTest::addColumn<QStringList>("violations");
    QTest::addColumn<QStringList>("ran");
    QTest::addColumn<QString>("failedStep");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("all go well") << QStringList{u"a"_s, u"b"_s} << QStringList{u"c"_s, u"d"_s}
                                 << QStringList{} << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}
                                 << QString() << true << QStringList{};
    QTest::newRow("a teardown step fails")
        << QStringList{u"!a"_s, u"b"_s} << QStringList{u"c"_s} << QStringList{}
        << QStringList{u"!a"_s, u"b"_s, u"c"_s} << QString() << true
        << QStringList{u"SceneLifecycle: teardown step !a failed: no room"_s};
    QTest::newRow("a load step fails")
        << QStringList{u"a"_s} << QStringList{u"c"_s, u"!d"_s, u"e"_s} << QStringList{}
        << QStringList{u"a"_s, u"c"_s, u"!d"_s} << u"!d"_s << false
        << QStringList{u"SceneLifecycle: load step !d failed: no room — aborting load"_s};
    QTest::newRow("something of the old scene is left")
        << QStringList{u"a"_s} << QStringList{u"c"_s} << QStringList{u"selection survived"_s}
        << QStringList{u"a"_s, u"c"_s} << QString() << false
        << QStringList{u"SceneLifecycle: INVARIANT VIOLATION — selection survived"_s};
}

void TstSceneLifecycle::stepsRunInTheirOrder()
{
    QFETCH(const QStringList, teardown);
    QFETCH(const QStringList, load);
    QFETCH(const QStringList, violations);
    QFETCH(const QStringList, logged);
    QStringList ran;
    SceneLifecycle lifecycle;
    for (const auto &step : steps(teardown, &ran))
        lifecycle.addTeardownStep(step.name, step.run);
    lifecycle.setInvariantCheck([&] {
        // Between the two lists, and in the phase of the first.
        Q_ASSERT(ran == teardown && lifecycle.phase() == Phase::TearingDown);
        return violations;
    });
    QList<std::pair<int, QString>> phases;
    connect(&lifecycle, &SceneLifecycle::phaseChanged, this, [&](Phase phase, const QString &text) {
        phases.append({int(phase), text});
    });
    QSignalSpy started(&lifecycle, &SceneLifecycle::stepStarted);
    QSignalSpy finished(&lifecycle, &SceneLifecycle::transitionFinished);
    for (const QString &line : logged)
        QTest::ignoreMessage(QtWarningMsg, line.toUtf8().constData());

    const auto report = lifecycle.transition(u"down"_s, u"up"_s, steps(load, &ran));

    QTEST(ran, "ran");
    QTEST(report.failedStep, "failedStep");
    QVERIFY(report.started && report.teardownOk);
    QCOMPARE(report.loadOk, report.failedStep.isEmpty());
    QCOMPARE(report.violations, violations);
    QCOMPARE(report.teardownSteps.size() + report.loadSteps.size(), ran.size());
    QCOMPARE(report.teardownSteps.first().ok, !teardown.first().startsWith(u'!'));
    QCOMPARE(report.teardownSteps.first().error,
             report.teardownSteps.first().ok ? u""_s : u"no room"_s);
    const QList<std::pair<int, QString>> expected{{1, u"down"_s}, {2, u"up"_s}, {0, QString()}};
    QCOMPARE(phases, expected);
    QCOMPARE(started.size(), ran.size());
    QCOMPARE(started.first().mid(1), (QVariantList{ran.first(), 0, int(teardown.size())}));
    QCOMPARE(finished.size(), 1);
    QTEST(finished.first().first().toBool(), "ok");
    QCOMPARE(lifecycle.lastReport().failedStep, report.failedStep);
}

void TstSceneLifecycle::aTransitionInATransitionIsRefused()
{
    SceneLifecycle lifecycle;
    bool inner = true;
    lifecycle.addTeardownStep(u"nosy"_s, [&](QString *) {
        inner = lifecycle.transition(u"x"_s, u"y"_s, {}).started;
        return true;
    });
    QSignalSpy finished(&lifecycle, &SceneLifecycle::transitionFinished);
    QTest::ignoreMessage(QtWarningMsg,
                         "SceneLifecycle: transition rejected — phase 1 already in progress");
    QVERIFY(lifecycle.transition(u"down"_s, u"up"_s, {}).started);
    QVERIFY(!inner);
    QCOMPARE(finished.size(), 1);
    QVERIFY(finished.first().first().toBool());
    QCOMPARE(lifecycle.phase(), Phase::Idle);
}

QTEST_GUILESS_MAIN(TstSceneLifecycle)
#include "tst_SceneLifecycle.moc"
