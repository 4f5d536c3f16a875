#include <toast/NoticeHistory.h>
#include <toast/ToastManager.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;
using toast::Severity;
using toast::ToastManager;
using toast::ToastRecord;

namespace {

constexpr qint64 start = 1'800'000'000'000;
constexpr qint64 threeHours = 10'800'000;

QStringList titlesOf(const ToastManager &manager)
{
    QStringList titles;
    for (const ToastRecord &record : manager.records())
        titles.append(record.title);
    return titles;
}

} // namespace

class TstToastManager : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_now = start;
    }

    void aNoticeIsLoggedAndAnnounced_data()
    {
        QTest::addColumn<Severity>("severity");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QtMsgType>("level");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("info") << Severity::Info << u"b"_s << QtInfoMsg << "[toast] T: b"_ba;
        QTest::newRow("success") << Severity::Success << QString() << QtInfoMsg << "[toast] T"_ba;
        QTest::newRow("warning") << Severity::Warning << u"b"_s << QtWarningMsg
                                 << "[toast] T: b"_ba;
        QTest::newRow("error") << Severity::Error << u"%1"_s << QtCriticalMsg << "[toast] T: %1"_ba;
    }

    void aNoticeIsLoggedAndAnnounced()
    {
        QFETCH(const Severity, severity);
        QFETCH(const QString, body);
        QFETCH(const QtMsgType, level);
        QFETCH(const QByteArray, line);
        ToastManager manager(clock());
        QSignalSpy added(&manager, &ToastManager::toastAdded);
        QSignalSpy history(&manager, &ToastManager::historyChanged);
        QTest::ignoreMessage(level, line.constData());
        bool ran = false;
        manager.notify({severity, u"T"_s, body, {{u"Open"_s, [&] { ran = true; }}}});
        const auto record = added.takeFirst().at(0).value<ToastRecord>();
        QCOMPARE(record.id, 1u);
        QCOMPARE(record.severity, severity);
        QCOMPARE(record.count, 1);
        QCOMPARE(record.timestamp, start);
        record.actions.first().run();
        QVERIFY(ran && history.size() == 1);
    }

    void theSameAgainIsOneCardWithACount()
    {
        ToastManager manager(clock());
        QSignalSpy added(&manager, &ToastManager::toastAdded);
        QSignalSpy updated(&manager, &ToastManager::toastUpdated);
        for (int i = 0; i < 10; ++i) {
            info(manager, u"same"_s);
            m_now += 100;
        }
        QCOMPARE(added.size(), 1);
        QCOMPARE(updated.size(), 9); // each restarts the card's time
        QCOMPARE(updated.last().at(0).value<ToastRecord>().count, 10);
        QCOMPARE(manager.records().first().timestamp, start + 900);
    }

    void whatCameLastStandsFirst()
    {
        ToastManager manager(clock());
        for (const auto &title : {u"a"_s, u"b"_s, u"c"_s, u"b"_s})
            info(manager, title);
        QCOMPARE(titlesOf(manager), QStringList({u"b"_s, u"c"_s, u"a"_s}));
        QCOMPARE(manager.records().first().id, 2u);
    }

    void theSameAfterItWasDismissedIsANewCard()
    {
        ToastManager manager(clock());
        QSignalSpy removed(&manager, &ToastManager::toastRemoved);
        info(manager, u"a"_s);
        manager.dismiss(1);
        manager.dismiss(1);
        manager.dismiss(99);
        QCOMPARE(removed.size(), 1);
        info(manager, u"a"_s);
        QCOMPARE(manager.records().size(), 2); // the history keeps both
        QCOMPARE(manager.undismissedCount(), 1);
        QCOMPARE(manager.records().first().count, 1);
    }

    void whatIsThreeHoursOldIsPutAway()
    {
        ToastManager manager(clock());
        info(manager, u"old"_s);
        info(manager, u"older, dismissed"_s);
        manager.dismiss(2);
        m_now += 1;
        info(manager, u"young"_s);
        m_now = start + threeHours;
        QSignalSpy removed(&manager, &ToastManager::toastRemoved);
        QSignalSpy history(&manager, &ToastManager::historyChanged);
        manager.purgeExpired();
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed[0][0].toULongLong(), 1u);
        QCOMPARE(history.size(), 1);
        QCOMPARE(manager.undismissedCount(), 1);
    }

    void theHistoryHasAnEnd()
    {
        ToastManager manager(clock());
        QSignalSpy removed(&manager, &ToastManager::toastRemoved);
        for (int i = 0; i < ToastManager::mostRecords + 2; ++i)
            info(manager, QString::number(i));
        QCOMPARE(manager.records().size(), ToastManager::mostRecords);
        QCOMPARE(manager.records().last().title, u"2"_s);
        QCOMPARE(removed.size(), 2);
    }

    void aNoticeOfAnotherThreadComesToTheManagers()
    {
        ToastManager &manager = ToastManager::instance();
        QTest::ignoreMessage(QtWarningMsg, "[toast] T: from afar");
        QThread *where = nullptr;
        connect(&manager, &ToastManager::toastAdded, &manager,
                [&] { where = QThread::currentThread(); });
        std::thread([] { toast::warning(u"T"_s, u"from afar"_s); }).join();
        QVERIFY(!where);
        QTRY_COMPARE(where, QCoreApplication::instance()->thread());
    }

    void theHistoryIsSavedAsText()
    {
        const QTemporaryDir desktop;
        const QDateTime now(QDate(2026, 3, 1), QTime(9, 5, 7));
        const QList<ToastRecord> records{
            {.id = 2,
             .severity = Severity::Warning,
             .title = u"Größe %1"_s,
             .body = u"two\nlines"_s,
             .timestamp = now.toMSecsSinceEpoch(),
             .count = 3},
            {.id = 1, .title = u"Saved"_s, .timestamp = now.toMSecsSinceEpoch()}};
        const toast::SavedHistory saved = toast::saveHistory(records, desktop.path(), now);
        QCOMPARE(saved.path,
                 desktop.filePath(u"ondrel-notifications/notifications-2026-03-01_09-05-07.txt"_s));
        QVERIFY(saved.error.isEmpty());
        QFile file(saved.path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()),
                 u"2026-03-01 09:05:07 [WARNING] Größe %1 (3 times)\ntwo\nlines\n\n"
                 "2026-03-01 09:05:07 [INFO] Saved\n"_s);
    }

    void aHistoryThatCannotBeSavedSaysWhy()
    {
        const QTemporaryDir desktop;
        const QString folder = desktop.filePath(u"ondrel-notifications"_s);
        QCOMPARE(toast::saveHistory({}, {}).error, u"Could not determine Desktop location."_s);
        QFile inTheWay(folder);
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        inTheWay.close();
        QCOMPARE(toast::saveHistory({}, desktop.path()).error,
                 u"Could not create folder: %1"_s.arg(folder));
        inTheWay.remove();
        const QDateTime now(QDate(2026, 3, 1), QTime(9, 5, 7));
        const QString path = folder + u"/notifications-2026-03-01_09-05-07.txt"_s;
        QVERIFY(QDir().mkpath(path));
        const toast::SavedHistory saved = toast::saveHistory({}, desktop.path(), now);
        QVERIFY(saved.path.isEmpty());
        QCOMPARE(saved.error, u"Could not write to %1: Is a directory"_s.arg(path));
    }

    void problemsAreSummarized_data()
    {
        QTest::addColumn<QList<ErrorSeverity>>("severities");
        QTest::addColumn<QString>("text");
        using enum ErrorSeverity;
        QTest::newRow("none") << QList<ErrorSeverity>{} << u"No problems detected"_s;
        QTest::newRow("only infos") << QList{Info} << u"No problems detected"_s;
        QTest::newRow("warnings") << QList{Warning, Warning} << u"2 warning(s)"_s;
        QTest::newRow("all") << QList{Error, Info, Warning, Critical}
                             << u"2 error(s), 1 warning(s)"_s;
    }

    void problemsAreSummarized()
    {
        QFETCH(const QList<ErrorSeverity>, severities);
        QFETCH(const QString, text);
        QList<ErrorEntry> entries;
        QStringList lines;
        for (const ErrorSeverity severity : severities) {
            entries.append({.severity = severity, .source = u"shader"_s, .message = u"50% %1"_s});
            if (severity != ErrorSeverity::Info)
                lines.append(u"• shader: 50% %1"_s);
        }
        const toast::ProblemSummary summary = toast::summarize(entries);
        QCOMPARE(summary.text, text);
        QCOMPARE(summary.toolTip, lines.join(u'\n'));
    }

private:
    ToastManager::Clock clock()
    {
        return [this] { return m_now; };
    }

    static void info(ToastManager &manager, const QString &title)
    {
        const QByteArray line = "[toast] " + title.toUtf8();
        QTest::ignoreMessage(QtInfoMsg, line.constData());
        manager.notify({.title = title});
    }

    qint64 m_now = start;
};

QTEST_GUILESS_MAIN(TstToastManager)
#include "tst_ToastManager.moc"
