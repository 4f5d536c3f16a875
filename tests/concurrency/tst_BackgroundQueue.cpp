#include <concurrency/BackgroundQueue.h>

#include <QSemaphore>
#include <QStringList>
#include <QTest>

#include <new>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using concurrency::BackgroundQueue;

class TstBackgroundQueue : public QObject
{
    Q_OBJECT

private slots:
    void itemsRunInOrderAndOnceAKey()
    {
        BackgroundQueue queue("test", 1h, 3);
        QStringList done;
        for (const QString &key : {u"dropped"_s, u"a"_s, u"b"_s, u"a"_s, u"c"_s})
            queue.add(key, [&done, key] { done += key; });
        QVERIFY(queue.finish(10s));
        QCOMPARE(done, (QStringList{u"a"_s, u"b"_s, u"c"_s}));
        queue.add(u"a"_s, [&done] { done += u"again"_s; });
        QVERIFY(queue.finish(10s));
        QCOMPARE(done.last(), u"again"_s);
    }

    void workBeginsByItself()
    {
        BackgroundQueue queue("test", 1ms, 3);
        QSemaphore isDone;
        queue.add(u"a"_s, [&] { isDone.release(); });
        QVERIFY(isDone.tryAcquire(1, 10000));
    }

    void itRunsAtTheLowestPriority()
    {
        BackgroundQueue queue("test", 1h, 3);
        int priority = 0;
        queue.add(u"a"_s, [&] { priority = ::nice(0); });
        QVERIFY(queue.finish(10s));
        QCOMPARE(priority, 19);
    }

    void anItemThatBreaksOffStopsNoOther()
    {
        BackgroundQueue queue("test", 1h, 3);
        bool isDone = false;
        queue.add(u"a"_s, [] { throw std::bad_alloc(); });
        queue.add(u"b"_s, [&] { isDone = true; });
        QVERIFY(queue.finish(10s));
        QVERIFY(isDone);
    }

    void anItemIsWaitedForNoLongerThanAsked()
    {
        QSemaphore go;
        BackgroundQueue queue("test", 0ms, 3);
        queue.add(u"a"_s, [&] { go.acquire(); });
        QVERIFY(!queue.finish(10ms));
        go.release();
    }

    void theEndDropsWhatHasNotBegun()
    {
        bool isDone = false;
        {
            BackgroundQueue queue("test", 1h, 3);
            queue.add(u"a"_s, [&] { isDone = true; });
        }
        QVERIFY(!isDone);
    }
};

QTEST_APPLESS_MAIN(TstBackgroundQueue)
#include "tst_BackgroundQueue.moc"
