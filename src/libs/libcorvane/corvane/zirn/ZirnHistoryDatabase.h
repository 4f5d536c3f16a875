#pragma once

#include <corvane/zirn/Operator.h>
#include <corvane/zirn/TaskPlan.h>

#include <QObject>
#include <QString>

#include <map>
#include <memory>
#include <mutex>

class QThread;

namespace corvane::zirn {

class HistoryConnection;

/// The plans that ran, in an SQLite file: one row a plan in plan_executions, one a step in
/// step_results, times as ISO text in UTC.
///
/// Each thread has a connection of its own, opened at its first call. History is a record and
/// never in the way: what cannot be written is logged with the SQL error, and the plan goes on.
/// A file that is no database, or a damaged one, is set aside under a new name and a new one is
/// begun. Any thread; historyChanged() comes on the thread that wrote.
class ZirnHistoryDatabase : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 noRow = -1;

    explicit ZirnHistoryDatabase(QString path, QObject *parent = nullptr);
    ~ZirnHistoryDatabase() override;

    QString path() const { return m_path; }

    /// Whether the calling thread has, or can open, a database that answers a statement.
    bool isUsable();

    /// The row of a plan that begins, or noRow.
    qint64 logPlanSubmitted(const TaskPlan &plan, const Operator &op);
    /// Nothing for noRow, here and below: the failure was told when the plan began.
    void logStepStarted(qint64 planRow, qint32 stepIndex, const TaskPlanStep &resolvedStep);
    void logStepCompleted(qint64 planRow, qint32 stepIndex, const ZirnTaskResult &result);
    void logPlanCompleted(qint64 planRow, const TaskPlanResult &result);

    /// Closes the calling thread's connection; called by a thread that wrote, before it ends.
    void closeThreadConnection();

signals:
    void historyChanged();

private:
    std::shared_ptr<HistoryConnection> connection();

    const QString m_path;
    std::mutex m_mutex; ///< of m_connections, and of setting files aside
    std::map<QThread *, std::shared_ptr<HistoryConnection>> m_connections;
};

} // namespace corvane::zirn
