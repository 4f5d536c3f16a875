#include <toast/ErrorManager.h>

#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QUuid sphere = QUuid::createUuid();
const QUuid box = QUuid::createUuid();

QString countsOf(const QSignalSpy &spy)
{
    const auto &last = spy.last();
    return u"%1 %2 %3"_s.arg(last.at(0).toInt()).arg(last.at(1).toInt()).arg(last.at(2).toInt());
}

} // namespace

class TstErrorManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aReportIsLoggedCountedAndAnnounced_data()
    {
        QTest::addColumn<ErrorSeverity>("severity");
        QTest::addColumn<QtMsgType>("level");
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("counts");
        QTest::newRow("info") << ErrorSeverity::Info << QtInfoMsg << "[INFO] shader: said"_ba
                              << u"0 0 1"_s;
        QTest::newRow("warning") << ErrorSeverity::Warning << QtWarningMsg
                                 << "[WARNING] shader: said"_ba << u"0 1 0"_s;
        QTest::newRow("error") << ErrorSeverity::Error << QtCriticalMsg << "[ERROR] shader: said"_ba
                               << u"1 0 0"_s;
        QTest::newRow("critical") << ErrorSeverity::Critical << QtCriticalMsg
                                  << "[CRITICAL] shader: said"_ba << u"1 0 0"_s;
    }

    void aReportIsLoggedCountedAndAnnounced()
    {
        QFETCH(const ErrorSeverity, severity);
        QFETCH(const QtMsgType, level);
        QFETCH(const QByteArray, line);
        QFETCH(const QString, counts);
        ErrorManager manager;
        QSignalSpy added(&manager, &ErrorManager::errorAdded);
        QSignalSpy changed(&manager, &ErrorManager::countsChanged);
        QTest::ignoreMessage(level, line.constData());
        const int id = manager.reportError(severity, u"shader"_s, u"said"_s, sphere, 3, 7);
        const auto entry = added.takeFirst().at(0).value<ErrorEntry>();
        QCOMPARE(entry.id, id);
        QCOMPARE(entry.severity, severity);
        QCOMPARE(entry.instanceId, sphere);
        QCOMPARE(entry.line, 3);
        QCOMPARE(entry.column, 7);
        QVERIFY(entry.timestamp.isValid());
        QCOMPARE(manager.allErrors(), QList<ErrorEntry>{entry});
        QCOMPARE(countsOf(changed), counts);
    }

    void clearingTakesOnlyWhatIsMeant()
    {
        ErrorManager manager;
        report(manager, u"a"_s, sphere);
        report(manager, u"b"_s, sphere);
        const int kept = report(manager, u"b"_s, box);
        report(manager, u"a"_s, {});
        QSignalSpy removed(&manager, &ErrorManager::errorRemoved);
        QSignalSpy ofInstance(&manager, &ErrorManager::errorsClearedForInstance);
        QSignalSpy changed(&manager, &ErrorManager::countsChanged);

        manager.clearForSource(u"a"_s);
        QCOMPARE(removed.size(), 2);
        QCOMPARE(countsOf(changed), u"2 0 0"_s);
        QCOMPARE(manager.errorsForInstance(sphere).size(), 1);

        manager.clearForInstance(sphere);
        QCOMPARE(removed.size(), 3);
        QCOMPARE(ofInstance.takeFirst().at(0).toUuid(), sphere);
        QCOMPARE(manager.allErrors().size(), 1);
        QCOMPARE(manager.errorsForSource(u"b"_s).first().id, kept);
        QCOMPARE(manager.errorsForSource(u"a"_s).size(), 0);

        QSignalSpy all(&manager, &ErrorManager::errorsCleared);
        manager.clearAll();
        QCOMPARE(all.size(), 1);
        QCOMPARE(countsOf(changed), u"0 0 0"_s);
        QVERIFY(report(manager, u"a"_s, {}) > kept + 1); // ids are never given twice
    }

    void anUnknownSourceChangesNothingButTheCountsAreTold()
    {
        ErrorManager manager;
        report(manager, u"a"_s, {});
        QSignalSpy removed(&manager, &ErrorManager::errorRemoved);
        QSignalSpy changed(&manager, &ErrorManager::countsChanged);
        manager.clearForSource(u"nobody"_s);
        QCOMPARE(removed.size(), 0);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(countsOf(changed), u"1 0 0"_s);
    }

    void aSlotMayCallStraightBack()
    {
        ErrorManager manager;
        connect(&manager, &ErrorManager::errorAdded, this, [&](const ErrorEntry &entry) {
            QCOMPARE(manager.allErrors().size(), 1);
            manager.clearForSource(entry.source);
        });
        report(manager, u"a"_s, {});
        QCOMPARE(manager.allErrors().size(), 0);
    }

    void threadsReportAtTheSameTime()
    {
        ErrorManager manager;
        constexpr int perThread = 200;
        for (int i = 0; i < 4 * perThread; ++i)
            QTest::ignoreMessage(QtCriticalMsg, "[ERROR] t: said");
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < perThread; ++i)
                    manager.reportError(ErrorSeverity::Error, u"t"_s, u"said"_s);
            });
        for (auto &thread : threads)
            thread.join();
        QSet<int> ids;
        for (const ErrorEntry &entry : manager.allErrors())
            ids.insert(entry.id);
        QCOMPARE(ids.size(), 4 * perThread);
        QCOMPARE(manager.errorCount(), 4 * perThread);
    }

private:
    static int report(ErrorManager &manager, const QString &source, const QUuid &instance)
    {
        const QByteArray line = "[ERROR] " + source.toUtf8() + ": said";
        QTest::ignoreMessage(QtCriticalMsg, line.constData());
        return manager.reportError(ErrorSeverity::Error, source, u"said"_s, instance);
    }
};

QTEST_GUILESS_MAIN(TstErrorManager)
#include "tst_ErrorManager.moc"
