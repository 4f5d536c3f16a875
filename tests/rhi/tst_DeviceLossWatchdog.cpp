#include <rhi/DeviceLossWatchdog.h>

using namespace rhi;

class TstDeviceLossWatchdog : public QObject
{
    Q_OBJECT

private slots:
    void theTierFollowsTheLossesOfTheLastMinute_data()
    {
        QTest::addColumn<QList<qint64>>("times");
        QTest::addColumn<QList<int>>("tiers");
        QTest::newRow("exactly a minute still counts")
            << QList<qint64>{0, 1, 60'000} << QList{0, 0, 1};
        QTest::newRow("the fifth comes too late")
            << QList<qint64>{0, 10, 20, 30, 60'005} << QList{0, 0, 1, 1, 1};
        QTest::newRow("quiet again") << QList<qint64>{0, 0, 0, 0, 0, 100'000, 100'001, 100'002}
                                     << QList{0, 0, 1, 1, 2, 0, 0, 1};
    }
    void theTierFollowsTheLossesOfTheLastMinute()
    {
        QFETCH(QList<qint64>, times);
        QFETCH(QList<int>, tiers);
        DeviceLossWatchdog watchdog;
        QList<int> answers;
        for (const qint64 time : std::as_const(times))
            answers.append(int(watchdog.recordLoss(time)));
        QCOMPARE(answers, tiers);
    }
};

QTEST_APPLESS_MAIN(TstDeviceLossWatchdog)
#include "tst_DeviceLossWatchdog.moc"
