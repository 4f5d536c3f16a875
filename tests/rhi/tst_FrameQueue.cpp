#include <rhi/FrameQueue.h>
#include <rhi/PresentSyncLedger.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

WorkerFrame whole(quint64 sequence)
{
    return {.size = {2, 2}, .sequence = sequence, .pixels = QByteArray(16, 'w')};
}

WorkerFrame part(quint64 sequence, qsizetype bytes = 4)
{
    return {.size = {2, 2},
            .sequence = sequence,
            .pixels = QByteArray(bytes, 'p'),
            .damage = {0, 0, 1, 1}};
}

WorkerFrame shared(quint64 sequence)
{
    // Never looked into by the queue.
    return {.size = {2, 2},
            .sequence = sequence,
            .sharedTexture = reinterpret_cast<SharedTexture *>(16)};
}

QString sequences(const QList<WorkerFrame> &frames)
{
    QStringList texts;
    for (const WorkerFrame &frame : frames)
        texts.append(QString::number(frame.sequence));
    return texts.join(u' ');
}

} // namespace

class TstFrameQueue : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aWholePictureTakesThePlaceOfAllBeforeIt_data()
    {
        QTest::addColumn<QList<WorkerFrame>>("frames");
        QTest::addColumn<QString>("drawn");
        QTest::addColumn<QString>("superseded");
        using Frames = QList<WorkerFrame>;
        QTest::newRow("whole ones") << Frames{whole(1), whole(2), whole(3)} << u"3"_s << u""_s;
        QTest::newRow("parts add up") << Frames{whole(1), part(2), part(3)} << u"1 2 3"_s << u""_s;
        QTest::newRow("parts before a whole one")
            << Frames{whole(1), part(2), whole(3), part(4)} << u"3 4"_s << u""_s;
        QTest::newRow("the same again") << Frames{whole(7), part(7), whole(7)} << u"7"_s << u""_s;
        QTest::newRow("sequence 0 is one like others")
            << Frames{whole(0), whole(0)} << u"0"_s << u""_s;
        QTest::newRow("shared ones must be waited for")
            << Frames{shared(1), shared(2), whole(3)} << u"3"_s << u"1 2"_s;
    }
    void aWholePictureTakesThePlaceOfAllBeforeIt()
    {
        QFETCH(QList<WorkerFrame>, frames);
        QFETCH(QString, drawn);
        QFETCH(QString, superseded);
        FrameQueue queue;
        for (const WorkerFrame &frame : std::as_const(frames))
            queue.add(frame);
        QCOMPARE(sequences(queue.takeSuperseded()), superseded);
        QCOMPARE(sequences(queue.takeFrames()), drawn);
        QVERIFY(queue.isEmpty() && queue.takeSuperseded().isEmpty());
        QVERIFY(!queue.add(frames.last())); // held, though it was taken out
        queue.clear();
        QVERIFY(queue.add(frames.last()));
    }

    void changesThatNobodyDrawsDoNotFillTheMemory()
    {
        FrameQueue queue;
        constexpr qsizetype half = FrameQueue::largestPending / 2;
        QVERIFY(queue.add(part(1, half)));
        QVERIFY(queue.add(part(2, half)));
        QTest::ignoreMessage(QtWarningMsg,
                             "too many changes wait to be drawn: they are dropped until "
                             "a whole picture comes");
        queue.add(part(3));
        QVERIFY(queue.isEmpty());
        QVERIFY(!queue.lastSequence());
    }

    void theLedgerKeepsWhatWasSignalled_data()
    {
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("slotOfSeven");
        QTest::newRow("default") << PresentSyncLedger::defaultDepth << 1;
        QTest::newRow("none is one") << 0 << 0;
        QTest::newRow("no more than bits") << 1000 << 7;
    }
    void theLedgerKeepsWhatWasSignalled()
    {
        QFETCH(int, depth);
        QFETCH(int, slotOfSeven);
        PresentSyncLedger ledger(depth);
        QCOMPARE(ledger.slotOf(7), slotOfSeven);
        QVERIFY(!ledger.isSet(7));
        ledger.retire(7); // not set: nothing to retire
        ledger.signal(7);
        ledger.signal(7 + quint64(ledger.depth())); // the same slot, a round later
        QVERIFY(ledger.isSet(7));
        ledger.retire(7);
        QVERIFY(!ledger.isSet(7));
        QCOMPARE(ledger.counters(),
                 (PresentSyncLedger::Counters{.signalled = 2, .retired = 1, .reused = 1}));
    }
};

QTEST_APPLESS_MAIN(TstFrameQueue)
#include "tst_FrameQueue.moc"
