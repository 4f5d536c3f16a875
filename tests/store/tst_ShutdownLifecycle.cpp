#include <store/ShutdownLifecycle.h>

#include <QRegularExpression>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using store::ShutdownHold;
using store::ShutdownLifecycle;

class TstShutdownLifecycle : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void tasksAreKeptWhileTheyLast()
    {
        ShutdownLifecycle lifecycle;
        QSignalSpy changed(&lifecycle, &ShutdownLifecycle::changed);
        const quint64 first = lifecycle.registerTask({.title = u"Settings"_s});
        const quint64 second = lifecycle.registerTask({.title = u"Export"_s});
        lifecycle.setProgress(second, 3, 10);
        const QList<ShutdownLifecycle::Entry> entries = lifecycle.entries();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0].task.title, u"Settings"_s);
        QCOMPARE(entries[0].total, -1);
        QCOMPARE(entries[1].current, 3);
        QVERIFY(entries[1].startedAt.isValid());
        lifecycle.deregisterTask(first);
        lifecycle.deregisterTask(first);
        lifecycle.setProgress(first, 1, 1);
        QCOMPARE(changed.size(), 4);
        QVERIFY(!lifecycle.isIdle());
        lifecycle.deregisterTask(second);
        QVERIFY(lifecycle.isIdle());
    }

    void readyComesWhenTheLastTaskGoes()
    {
        ShutdownLifecycle lifecycle;
        QSignalSpy ready(&lifecycle, &ShutdownLifecycle::shutdownReady);
        lifecycle.beginShutdown();
        QCOMPARE(ready.size(), 1);
        {
            const ShutdownHold hold({.title = u"Export"_s}, lifecycle);
            lifecycle.beginShutdown();
            QCOMPARE(ready.size(), 1);
        }
        QCOMPARE(ready.size(), 2);
        {
            const ShutdownHold later({.title = u"Export"_s}, lifecycle);
        }
        // Asked for by nobody.
        QCOMPARE(ready.size(), 2);
    }

    void anAbortedShutdownIsNotReady()
    {
        ShutdownLifecycle lifecycle;
        QSignalSpy ready(&lifecycle, &ShutdownLifecycle::shutdownReady);
        QSignalSpy aborted(&lifecycle, &ShutdownLifecycle::shutdownAborted);
        {
            const ShutdownHold hold({.title = u"Export"_s}, lifecycle);
            lifecycle.beginShutdown();
            lifecycle.abortShutdown();
        }
        QCOMPARE(aborted.size(), 1);
        QCOMPARE(ready.size(), 0);
    }

    void finishingRunsTheProbesAndWaits()
    {
        ShutdownLifecycle lifecycle;
        std::thread writer;
        bool written = false;
        lifecycle.registerProbe([&] {
            const quint64 task = lifecycle.registerTask({.title = u"Store"_s});
            writer = std::thread([&, task] {
                written = true;
                lifecycle.deregisterTask(task);
            });
        });
        const quint64 gone = lifecycle.registerProbe([] { QFAIL("it was removed"); });
        lifecycle.removeProbe(gone);
        const bool finished = lifecycle.finishWork(1h);
        writer.join();
        QVERIFY(finished && written);
    }

    void finishingGivesUpOnWhatNeverEnds()
    {
        ShutdownLifecycle lifecycle;
        const ShutdownHold hold({.title = u"Export"_s}, lifecycle);
        QVERIFY(!lifecycle.finishWork(0ms));
    }
};

QTEST_GUILESS_MAIN(TstShutdownLifecycle)
#include "tst_ShutdownLifecycle.moc"
