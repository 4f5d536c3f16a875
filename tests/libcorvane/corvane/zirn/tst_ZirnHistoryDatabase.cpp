#include <corvane/zirn/ZirnHistoryDatabase.h>
#include <corvane/zirn/ZirnResourceManager.h>

#include "PlanFixture.h"

#include <support/Files.h>
#include <support/SqlRows.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <sys/stat.h>

#include <cerrno>

using namespace Qt::StringLiterals;
using support::put;
using support::rowsOf;
using namespace corvane::zirn;

class TstZirnHistoryDatabase : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QFile::remove(path()); }

    void planIsRecorded();
    void refusedPlanIsNot();
    void earlierPlansStay();
    void plansWriteSideBySide();
    void damagedFileIsSetAside_data();
    void journalThatIsNoFileIsNotOpened();
    void damagedFileIsSetAside();
    void planRunsWithoutItsHistory_data();
    void planRunsWithoutItsHistory();

private:
    QString path() const { return m_dir.filePath(u"sub/history.db"_s); }

    QTemporaryDir m_dir;
};

void TstZirnHistoryDatabase::planIsRecorded()
{
    ZirnTaskRegistry registry;
    addTask(registry, u"t.ok"_s, [](const ZirnTaskParams &, ZirnTaskContext *) {
        return ZirnTaskResult::succeeded(u"it's ok"_s, {{u"id"_s, u"7"_s}});
    });
    ZirnHistoryDatabase history(path());
    QSignalSpy changed(&history, &ZirnHistoryDatabase::historyChanged);
    ZirnTaskRuntime runtime(&registry);
    runtime.setHistory(&history);
    const Operator op{.type = OperatorType::Directive, .id = u"cron"_s};
    run(runtime,
        planOf({call(u"t.ok"_s, {{u"n"_s, 1}}, {{u"x"_s, u"id"_s}}),
                call(u"t.ok"_s, {{u"n"_s, u"<${x}>"_s}}, {{u"y"_s, u"no"_s}}), call(u"t.ok"_s)}),
        op);
    run(runtime, {.description = {}, .steps = {call(u"t.ok"_s)}}, {});

    QCOMPARE(rowsOf(path(), u"SELECT id, description, operator_type, operator_id, step_count, "
                            u"success, cancelled, failed_step_idx FROM plan_executions"_s),
             (QStringList{u"1|test|directive|cron|3|0|0|1"_s, u"2||steward||1|1|0|NULL"_s}));
    QCOMPARE(rowsOf(path(), u"SELECT plan_id, step_index, task_name, args_json, success, "
                            u"substr(message, 1, 7), outputs_json FROM step_results"_s),
             (QStringList{u"1|0|t.ok|{\"n\":1}|1|it's ok|{\"id\":\"7\"}"_s,
                          u"1|1|t.ok|{\"n\":\"<7>\"}|0|Failed |{}"_s,
                          u"2|0|t.ok|{}|1|it's ok|{\"id\":\"7\"}"_s}));
    const QString times = u"SELECT count(*) FROM %1 WHERE %2 NOT LIKE '____-__-__T__:__:__%Z' OR "
                          u"finished_at NOT LIKE '____-__-__T__:__:__%Z'"_s;
    QCOMPARE(rowsOf(path(), times.arg(u"plan_executions"_s, u"submitted_at"_s)),
             QStringList{u"0"_s});
    QCOMPARE(rowsOf(path(), times.arg(u"step_results"_s, u"started_at"_s)), QStringList{u"0"_s});
    QCOMPARE(changed.size(), 4);
}

void TstZirnHistoryDatabase::refusedPlanIsNot()
{
    ZirnTaskRegistry registry;
    ZirnHistoryDatabase history(path());
    QVERIFY(history.isUsable());
    ZirnTaskRuntime runtime(&registry);
    runtime.setHistory(&history);
    runtime.setPermissionTimeout(std::chrono::milliseconds(0));
    QVERIFY(!run(runtime, planOf({call(u"t.ok"_s)}), {.type = OperatorType::Llm}).success);
    QCOMPARE(rowsOf(path(), u"SELECT count(*) FROM plan_executions"_s), QStringList{u"0"_s});
}

void TstZirnHistoryDatabase::earlierPlansStay()
{
    for (const qint64 expected : {1, 2}) {
        ZirnHistoryDatabase history(path());
        QCOMPARE(history.logPlanSubmitted(planOf({}), {}), expected);
    }
}

void TstZirnHistoryDatabase::plansWriteSideBySide()
{
    ZirnTaskRegistry registry;
    addTask(registry, u"t.ok"_s);
    ZirnResourceManager resources;
    ZirnHistoryDatabase history(path());
    ZirnTaskRuntime runtime(&registry);
    runtime.setHistory(&history);
    runtime.setResourceManager(&resources);
    QSignalSpy completed(&runtime, &ZirnTaskRuntime::planCompleted);
    const TaskPlan plan = planOf(QList<TaskPlanStep>(20, call(u"t.ok"_s)));
    for (int i = 0; i < 4; ++i)
        QVERIFY(runtime.submit(plan, {}));
    QTRY_COMPARE_WITH_TIMEOUT(completed.size(), 4, 60000);
    QCOMPARE(rowsOf(path(), u"SELECT count(*) FROM plan_executions WHERE success"_s),
             QStringList{u"4"_s});
    QCOMPARE(rowsOf(path(), u"SELECT count(*), sum(success) FROM step_results"_s),
             QStringList{u"80|80"_s});
}

void TstZirnHistoryDatabase::damagedFileIsSetAside_data()
{
    QTest::addColumn<bool>("isCutDatabase");
    QTest::newRow("no database") << false;
    QTest::newRow("a database with a page of zeros") << true;
}

void TstZirnHistoryDatabase::journalThatIsNoFileIsNotOpened()
{
    const QString journal = path() + u"-journal"_s;
    QVERIFY(ZirnHistoryDatabase(path()).isUsable());
    QVERIFY(::mkfifo(QFile::encodeName(journal).constData(), 0600) == 0);
    QVERIFY(!ZirnHistoryDatabase(path()).isUsable());
    QVERIFY(QFile::remove(journal));
    QVERIFY(ZirnHistoryDatabase(path()).isUsable());
}

void TstZirnHistoryDatabase::damagedFileIsSetAside()
{
    QFETCH(bool, isCutDatabase);
    QByteArray content(20000, 'x');
    QVERIFY(ZirnHistoryDatabase(path()).isUsable()); // makes the folder
    if (isCutDatabase) {
        content = support::contentOf(path());
        content.replace(100, content.size() - 100, QByteArray(content.size() - 100, '\0'));
    }
    put(path(), content);
    {
        ZirnHistoryDatabase history(path());
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"^WARNING: '.*' was kept as '.*\\.damaged-.*"_s));
        QCOMPARE(history.logPlanSubmitted(planOf({}), {}), 1);
    }
    const QDir folder = QFileInfo(path()).dir();
    const QStringList kept = folder.entryList({u"*.damaged-*"_s}, QDir::Files);
    QCOMPARE(kept.size(), 1);
    QCOMPARE(support::contentOf(folder.filePath(kept.first())), content);
    QVERIFY(QFile::remove(folder.filePath(kept.first())));
}

void TstZirnHistoryDatabase::planRunsWithoutItsHistory_data()
{
    QTest::addColumn<QString>("path");
    const QString fifo = m_dir.filePath(u"fifo"_s);
    const QString file = m_dir.filePath(u"file"_s);
    QVERIFY(::mkfifo(qPrintable(fifo), 0600) == 0 || errno == EEXIST);
    put(file, {});
    QTest::newRow("a folder") << m_dir.path();
    QTest::newRow("a FIFO") << fifo;
    QTest::newRow("below a file") << file + u"/history.db"_s;
}

void TstZirnHistoryDatabase::planRunsWithoutItsHistory()
{
    QFETCH(QString, path);
    ZirnTaskRegistry registry;
    addTask(registry, u"t.ok"_s);
    ZirnHistoryDatabase history(path);
    ZirnTaskRuntime runtime(&registry);
    runtime.setHistory(&history);
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(u"^ZirnHistoryDatabase: logPlanSubmitted failed: .+"_s));
    QVERIFY(run(runtime, planOf({call(u"t.ok"_s), call(u"t.ok"_s)})).success);
}

QTEST_GUILESS_MAIN(TstZirnHistoryDatabase)
#include "tst_ZirnHistoryDatabase.moc"
