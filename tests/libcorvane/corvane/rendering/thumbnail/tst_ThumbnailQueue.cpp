#include <corvane/rendering/thumbnail/ThumbnailQueue.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::rendering::ThumbnailQueue;

class TstThumbnailQueue : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_started.clear();
    }
    void oneAtATimeByPriority();
    void whatIsThereAlreadyIsNotWaitedFor();
    void whatComesLaterJoinsTheBatch();
    void clearEndsTheBatch();

private:
    /// A queue whose requests end at once, but those of which the id begins with "slow".
    ThumbnailQueue::Start start()
    {
        return [this](const ThumbnailQueue::ThumbnailRequest &request) {
            m_started.append(request.id);
            return request.id.startsWith(u"slow");
        };
    }

    QStringList m_started;
};

void TstThumbnailQueue::oneAtATimeByPriority()
{
    ThumbnailQueue queue(start());
    QSignalSpy started(&queue, &ThumbnailQueue::preloadBatchStarted);
    QSignalSpy progress(&queue, &ThumbnailQueue::preloadBatchProgress);
    QSignalSpy finished(&queue, &ThumbnailQueue::preloadBatchFinished);
    queue.enqueue({{.id = u"slow 1"_s},
                   {.id = u"slow 2"_s},
                   {.id = u"slow first"_s, .priority = 5},
                   {.id = u"slow 1"_s}});
    queue.startProcessing();
    queue.startProcessing(); // runs already
    QCOMPARE(started.size(), 1);
    QCOMPARE(started[0][0].toInt(), 3);
    QTRY_COMPARE(m_started, QStringList(u"slow first"_s));
    queue.processNext(); // not while one is under way
    QCOMPARE(m_started.size(), 1);
    queue.notifyPreloadItemComplete();
    queue.notifyPreloadItemComplete(); // of nothing
    QTRY_COMPARE(m_started, QStringList({u"slow first"_s, u"slow 1"_s}));
    QCOMPARE(progress.size(), 1);
    queue.notifyPreloadItemComplete();
    QTRY_COMPARE(m_started.size(), 3);
    queue.notifyPreloadItemComplete();
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(progress.constLast(), QVariantList({3, 3}));
    QCOMPARE(m_started.constLast(), u"slow 2"_s);
}

void TstThumbnailQueue::whatIsThereAlreadyIsNotWaitedFor()
{
    ThumbnailQueue queue(start());
    QSignalSpy finished(&queue, &ThumbnailQueue::preloadBatchFinished);
    queue.startProcessing(); // nothing to do: no batch
    queue.enqueue({{.id = u"a"_s}, {.id = u"b"_s}});
    QCOMPARE(queue.waiting(), 2);
    queue.startProcessing();
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(m_started, QStringList({u"a"_s, u"b"_s}));
}

void TstThumbnailQueue::whatComesLaterJoinsTheBatch()
{
    ThumbnailQueue queue(start());
    QSignalSpy progress(&queue, &ThumbnailQueue::preloadBatchProgress);
    queue.enqueue({{.id = u"slow"_s}});
    queue.startProcessing();
    QTRY_COMPARE(m_started.size(), 1);
    queue.enqueue({{.id = u"later"_s}});
    queue.notifyPreloadItemComplete();
    QTRY_COMPARE(progress.size(), 2);
    QCOMPARE(progress.constLast(), QVariantList({2, 2}));
}

void TstThumbnailQueue::clearEndsTheBatch()
{
    ThumbnailQueue queue(start());
    QSignalSpy finished(&queue, &ThumbnailQueue::preloadBatchFinished);
    queue.enqueue({{.id = u"slow"_s}, {.id = u"never"_s}});
    queue.startProcessing();
    QTRY_COMPARE(m_started.size(), 1);
    queue.clear();
    queue.clear();
    QCOMPARE(finished.size(), 1);
    queue.notifyPreloadItemComplete(); // of what was under way
    queue.enqueue({{.id = u"again"_s}});
    queue.startProcessing();
    QTRY_COMPARE(finished.size(), 2);
    QCOMPARE(m_started, QStringList({u"slow"_s, u"again"_s}));
}

QTEST_GUILESS_MAIN(TstThumbnailQueue)
#include "tst_ThumbnailQueue.moc"
