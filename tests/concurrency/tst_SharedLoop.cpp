#include <concurrency/SharedLoop.h>

#include <support/NoThreads.h>

#include <QList>
#include <QTest>

#include <new>
#include <numeric>

using concurrency::SharedLoop;

class TstSharedLoop : public QObject
{
    Q_OBJECT

private slots:
    void progressIsToldInTurn_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("threads");
        QTest::addColumn<int>("mostStart");
        QTest::newRow("nothing to do") << 0 << 4 << 8;
        QTest::newRow("one thread") << 50 << 1 << 8;
        QTest::newRow("many") << 5000 << 8 << 8;
        QTest::newRow("one of many starts") << 50 << 8 << 1;
        QTest::newRow("no thread starts") << 50 << 8 << 0;
    }
    void progressIsToldInTurn()
    {
        QFETCH(int, count);
        QFETCH(int, threads);
        QFETCH(int, mostStart);
        const support::NoThreads none(mostStart == 0);
        const support::OneThread one(mostStart == 1);
        SharedLoop loop(count);
        std::atomic<qint64> sum = 0;
        QList<qint64> told;
        const std::thread::id here = std::this_thread::get_id();
        loop.run(
            "Test", threads,
            [&] {
                for (qint64 i = loop.next(); i >= 0; i = loop.next()) {
                    sum += i;
                    loop.finishOne();
                }
            },
            [&](qint64 done) {
                QCOMPARE(std::this_thread::get_id(), here);
                told.append(done);
            });
        QCOMPARE(sum.load(), qint64(count) * (count - 1) / 2);
        QList<qint64> expected(count);
        std::iota(expected.begin(), expected.end(), 1);
        QCOMPARE(told, expected);
    }

    void exceptionGoesOnInTheCaller_data()
    {
        QTest::addColumn<bool>("inReport");
        QTest::addColumn<bool>("someStart");
        QTest::newRow("in the work") << false << true;
        QTest::newRow("in the work, no thread starts") << false << false;
        QTest::newRow("in the report") << true << true;
        QTest::newRow("in the report, no thread starts") << true << false;
    }
    void exceptionGoesOnInTheCaller()
    {
        QFETCH(bool, inReport);
        QFETCH(bool, someStart);
        const support::NoThreads none(!someStart);
        SharedLoop loop(std::numeric_limits<qint64>::max() / 2);
        const auto work = [&] {
            for (qint64 i = loop.next(); i >= 0; i = loop.next()) {
                if (i == 100 && !inReport)
                    throw std::bad_alloc();
                loop.finishOne();
            }
        };
        const auto report = [&](qint64) {
            if (inReport)
                throw std::bad_alloc();
        };
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, loop.run("Test", 4, work, report));
    }
};

QTEST_APPLESS_MAIN(TstSharedLoop)
#include "tst_SharedLoop.moc"
