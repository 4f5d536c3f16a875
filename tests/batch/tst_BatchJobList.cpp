#include <batch_widgets/BatchJobListModel.h>
#include <batch_widgets/BatchJobListWidget.h>
#include <batch_widgets/BatchStatusWidget.h>
#include <support/ManualClock.h>
#include <support/Person.h>

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableView>

using namespace Qt::StringLiterals;
using namespace batch;

namespace {

const QDateTime noon(QDate(2026, 1, 2), QTime(12, 0), Qt::UTC);

quint64 add(BatchQueue &queue, const QString &label, const QString &origin = {})
{
    return queue.submit({.type = u"corvane/mesh_export"_s, .origin = origin, .label = label});
}

quint64 addRunning(BatchQueue &queue, const QString &label)
{
    const quint64 id = add(queue, label);
    queue.claim(id, u"exporter"_s);
    return id;
}

QStringList labels(const QAbstractItemModel &model)
{
    QStringList shown;
    for (int row = 0; row < model.rowCount(); ++row)
        shown.append(model.index(row, int(JobColumn::Type)).data().toString());
    return shown;
}

void press(const QWidget &list, const QString &text)
{
    const auto buttons = list.findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->text() == text)
            return support::click(*button);
    }
    QFAIL(qPrintable(u"no button "_s + text));
}

} // namespace

class TstBatchJobList : public QObject
{
    Q_OBJECT

private slots:
    void init() { support::failOnWarnings(); }
    void aCellSays_data();
    void aCellSays();
    void liveWorkStandsOnTop();
    void aHundredStepsAreOneRepaint();
    void theOriginFilters();
    void theSelectionStaysWithItsJobs();
    void theButtonsWork();
    void theToolbarSaysHowFarItIs();
};

void TstBatchJobList::aCellSays_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<BatchJob>("job");
    QTest::addColumn<BatchQueue::Progress>("progress");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("toolTip");
    const auto row = [](const char *name, JobColumn column, const BatchJob &job,
                        BatchQueue::Progress progress, const QString &text,
                        const QString &toolTip = {}) {
        QTest::newRow(name) << int(column) << job << progress << text << toolTip;
    };
    const BatchJob named{.type = u"t"_s, .label = u"Gear"_s};
    row("a label", JobColumn::Type, named, {}, u"Gear"_s, u"Type: t\nLabel: Gear"_s);
    row("a type", JobColumn::Type, {.type = u"t"_s}, {}, u"t"_s);
    row("a worker", JobColumn::Status, {.workerId = u"w"_s}, {}, u"pending"_s, u"Worker: w"_s);
    row("part of a total", JobColumn::Progress, {}, {1, 3}, u"1/3 33%"_s);
    row("rounded up", JobColumn::Progress, {}, {2, 3}, u"2/3 67%"_s);
    row("no total", JobColumn::Progress, {}, {7, 0}, u"7 done"_s);
    row("nothing told", JobColumn::Progress, {}, {}, u"—"_s);
    row("not started", JobColumn::Elapsed, {}, {}, QString());
    row("no time passed", JobColumn::Elapsed, {.startedAt = noon, .completedAt = noon}, {}, {});
    row("milliseconds", JobColumn::Elapsed, {.startedAt = noon, .completedAt = noon.addMSecs(999)},
        {}, u"999ms"_s);
    row("seconds", JobColumn::Elapsed, {.startedAt = noon, .completedAt = noon.addMSecs(1260)}, {},
        u"1.3s"_s);
    row("still running", JobColumn::Elapsed, {.startedAt = noon}, {}, u"60.0s"_s);
    row("an error", JobColumn::Error, {.error = u"full"_s}, {}, u"full"_s, u"full"_s);
    row("created", JobColumn::Created, {.createdAt = noon}, {},
        noon.toLocalTime().toString(u"HH:mm:ss"_s));
}

void TstBatchJobList::aCellSays()
{
    QFETCH(const int, column);
    QFETCH(const BatchJob, job);
    QFETCH(const BatchQueue::Progress, progress);
    QTEST(jobCellText(job, progress, JobColumn(column), noon.addSecs(60)), "text");
    QTEST(jobCellToolTip(job, JobColumn(column)), "toolTip");
}

void TstBatchJobList::liveWorkStandsOnTop()
{
    support::ManualClock clock;
    BatchQueue queue(clock.asClock());
    const quint64 done = addRunning(queue, u"done"_s);
    queue.complete(done);
    add(queue, u"waiting"_s);
    const quint64 failed = addRunning(queue, u"failed"_s);
    clock.advance(1000);
    queue.fail(failed, u"full"_s);
    const quint64 hangs = queue.submit({.hungTimeoutSeconds = 5, .label = u"hung"_s});
    queue.claim(hangs, u"w"_s);
    clock.advance(1000);
    queue.cancel(add(queue, u"cancelled"_s));
    BatchJobListModel model(&queue);
    clock.advance(10000);
    addRunning(queue, u"running"_s);
    queue.checkHungJobs();
    QTRY_COMPARE(labels(model), (QStringList{u"running"_s, u"hung"_s, u"waiting"_s, u"cancelled"_s,
                                             u"failed"_s, u"done"_s}));
}

void TstBatchJobList::aHundredStepsAreOneRepaint()
{
    BatchQueue queue;
    const quint64 id = addRunning(queue, u"a"_s);
    BatchJobListModel model(&queue);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    for (int i = 1; i <= 100; ++i)
        queue.setProgress(id, i, 100);
    QCOMPARE(changed.size(), 0);
    const auto wholeRows = [&changed] {
        return std::count_if(changed.cbegin(), changed.cend(), [](const QVariantList &call) {
            return call.at(0).toModelIndex().column() == 0;
        });
    };
    QTRY_COMPARE(wholeRows(), 1);
    QCOMPARE(model.index(0, int(JobColumn::Progress)).data().toString(), u"100/100 100%"_s);
    QCOMPARE(reset.size(), 0);
}

void TstBatchJobList::theOriginFilters()
{
    BatchQueue queue;
    add(queue, u"nobody's"_s);
    add(queue, u"zirn's"_s, u"zirn"_s);
    BatchJobListWidget list(&queue);
    auto *const origin = list.findChild<QComboBox *>();
    const auto *const table = list.findChild<QTableView *>();
    QStringList items;
    for (int i = 0; i < origin->count(); ++i)
        items.append(origin->itemText(i));
    QCOMPARE(items, (QStringList{u"All"_s, u"Directive"_s, u"ZIRN"_s, u"Manual"_s, u"System"_s}));
    QCOMPARE(origin->toolTip(), u"Filter jobs by origin type"_s);
    origin->setCurrentText(u"ZIRN"_s);
    QCOMPARE(labels(*table->model()), QStringList{u"zirn's"_s});
    origin->setCurrentText(u"All"_s);
    QCOMPARE(table->model()->rowCount(), 2);
}

void TstBatchJobList::theSelectionStaysWithItsJobs()
{
    BatchQueue queue;
    const quint64 first = addRunning(queue, u"first"_s);
    const quint64 second = addRunning(queue, u"second"_s);
    BatchJobListWidget list(&queue);
    QVERIFY(support::show(list));
    auto *const table = list.findChild<QTableView *>();
    const int row = static_cast<BatchJobListModel *>(table->model())->rowOf(first);
    table->selectRow(row);
    QCOMPARE(list.selectedJobs(), QSet<quint64>{first});
    queue.complete(first); // sinks below the other
    QTRY_COMPARE(labels(*table->model()), (QStringList{u"second"_s, u"first"_s}));
    QCOMPARE(list.selectedJobs(), QSet<quint64>{first});
    add(queue, u"third"_s); // read anew
    QTRY_COMPARE(table->model()->rowCount(), 3);
    QCOMPARE(list.selectedJobs(), QSet<quint64>{first});
    Q_UNUSED(second)
}

void TstBatchJobList::theButtonsWork()
{
    BatchQueue queue;
    const quint64 failed = addRunning(queue, u"failed"_s);
    queue.fail(failed, u"full"_s);
    const quint64 done = addRunning(queue, u"done"_s);
    queue.complete(done);
    const quint64 waiting = add(queue, u"waiting"_s);
    BatchJobListWidget list(&queue);
    QVERIFY(support::show(list));
    auto *const table = list.findChild<QTableView *>();
    const auto *const model = static_cast<BatchJobListModel *>(table->model());

    table->selectRow(model->rowOf(waiting));
    press(list, u"Retry"_s); // nothing to retry
    press(list, u"Cancel"_s);
    QCOMPARE(queue.job(waiting)->status, BatchStatus::Cancelled);
    press(list, u"Clear done"_s);
    QTRY_COMPARE(labels(*model), (QStringList{u"waiting"_s, u"failed"_s}));
    press(list, u"Retry failed"_s);
    QCOMPARE(queue.job(failed)->status, BatchStatus::Pending);
    press(list, u"Clear all"_s);
    QTRY_COMPARE(model->rowCount(), 0);
}

void TstBatchJobList::theToolbarSaysHowFarItIs()
{
    BatchStatusWidget status;
    QCOMPARE(status.toolTip(), u"Batch jobs — click to view"_s);
    status.updateDisplay();
    QCOMPARE(status.toolTip(), u"Batch queue not available."_s);
    BatchQueue queue;
    status.setQueue(&queue);
    QCOMPARE(status.text(), u"Idle"_s);
    QCOMPARE(status.toolTip(), u"Batch: idle — no active jobs.\nClick to view batch jobs."_s);
    add(queue, u"later"_s);
    const quint64 id = addRunning(queue, u"Gear"_s);
    queue.setProgress(id, 12, 40);
    QTRY_COMPARE(status.text(), u"12/40 30%"_s);
    QCOMPARE(status.toolTip(), u"Batch: 2 active job(s)\nCurrent: Gear\nStatus: in_progress\n"
                               "Progress: 12 of 40 (30%)\nQueue position: 2 of 2\n"
                               "Click to view batch jobs."_s);
    queue.setProgress(id, 5, 0);
    QTRY_COMPARE(status.text(), u"5 done"_s);
}

CORVANE_WIDGETS_MAIN(TstBatchJobList)
#include "tst_BatchJobList.moc"
