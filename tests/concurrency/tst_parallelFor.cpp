#include <concurrency/parallelFor.h>

#include <support/NoThreads.h>

#include <QTest>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>

using concurrency::parallelFor;
using concurrency::runBeside;

class TstParallelFor : public QObject
{
    Q_OBJECT

private slots:
    void eachIsDoneOnce_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("threads");
        QTest::addColumn<bool>("someStart");
        QTest::newRow("none") << 0 << 4 << true;
        QTest::newRow("one thread") << 100 << 1 << true;
        QTest::newRow("more threads than work") << 3 << 16 << true;
        QTest::newRow("many") << 10000 << 8 << true;
        QTest::newRow("no thread starts") << 10000 << 8 << false;
    }
    void eachIsDoneOnce()
    {
        QFETCH(int, count);
        QFETCH(int, threads);
        QFETCH(bool, someStart);
        const support::NoThreads none(!someStart);
        std::vector<std::atomic<int>> calls(static_cast<std::size_t>(count));
        parallelFor(count, threads, [&](qsizetype i) { ++calls[std::size_t(i)]; });
        QVERIFY(std::all_of(calls.begin(), calls.end(), [](const auto &n) { return n == 1; }));
    }

    void exceptionEndsTheLoopAndGoesOn_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one thread") << 1;
        QTest::newRow("many") << 4;
    }
    void exceptionEndsTheLoopAndGoesOn()
    {
        QFETCH(int, threads);
        constexpr qsizetype endless = std::numeric_limits<qsizetype>::max() / 2;
        std::atomic<int> calls = 0;
        const auto greedy = [&](qsizetype) {
            if (++calls >= 1000)
                throw std::bad_alloc();
        };
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, parallelFor(endless, threads, greedy));
        QVERIFY(calls >= 1000);
    }

    // As of a writer that waits for what a helper was formatting when its memory ran out.
    void callerThatWaitsForALostHelperIsStopped()
    {
        std::mutex mutex;
        std::condition_variable changed;
        bool stopped = false;
        const auto wait = [&] {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return stopped; });
        };
        const auto stop = [&] {
            const std::lock_guard lock(mutex);
            stopped = true;
            changed.notify_all();
        };
        const auto fail = [] { throw std::bad_alloc(); };
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, runBeside(2, fail, wait, stop));
        stopped = false;
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, runBeside(2, wait, fail, stop));
    }
};

QTEST_APPLESS_MAIN(TstParallelFor)
#include "tst_parallelFor.moc"
