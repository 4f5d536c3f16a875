#include <batch/BatchQueue.h>
#include <corvane/jobs/JobWatch.h>
#include <support/ManualClock.h>

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using batch::BatchQueue;
using corvane::jobs::JobWatch;

class TstJobWatch : public QObject
{
    Q_OBJECT

private slots:
    void jobsAreWantedWhileTheyRun_data()
    {
        QTest::addColumn<bool>("isCancelled");
        QTest::addColumn<bool>("isFirst"); // what happens does before the watch
        for (const bool isCancelled : {false, true})
            for (const bool isFirst : {false, true})
                QTest::addRow("%s %s the watch", isCancelled ? "cancelled" : "hung",
                              isFirst ? "before" : "during")
                    << isCancelled << isFirst;
    }

    void jobsAreWantedWhileTheyRun()
    {
        QFETCH(const bool, isCancelled);
        QFETCH(const bool, isFirst);
        support::ManualClock clock;
        BatchQueue queue(clock.asClock());
        const quint64 id = queue.submit({.type = u"t"_s, .hungTimeoutSeconds = 1});
        const quint64 other = queue.submit({.type = u"t"_s});
        queue.claim(id, u"worker"_s);
        const auto happen = [&] {
            clock.advance(10'000);
            if (isCancelled)
                queue.cancel(id);
            else
                queue.checkHungJobs();
        };
        if (isFirst)
            happen();
        const JobWatch watch(&queue, id);
        QSignalSpy unwanted(&watch, &JobWatch::unwanted);
        queue.cancel(other);
        QCOMPARE(watch.wanted(), !isCancelled || !isFirst);
        if (!isFirst)
            happen();
        QCOMPARE(watch.wanted(), !isCancelled);
        QCOMPARE(unwanted.size(), isCancelled && !isFirst ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TstJobWatch)
#include "tst_JobWatch.moc"
