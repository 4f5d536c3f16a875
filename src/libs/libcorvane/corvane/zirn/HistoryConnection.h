#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>

#include <array>
#include <memory>

namespace corvane::zirn {

/// One thread's connection to a history file, with its statements prepared.
class HistoryConnection
{
public:
    enum class State {
        Open,        ///< the tables are there and answer
        Damaged,     ///< the file is no database, or a broken one
        Unavailable, ///< it cannot be opened, read or written
    };
    enum class Statement { InsertPlan, InsertStep, UpdateStep, UpdatePlan };

    explicit HistoryConnection(const QString &path);
    ~HistoryConnection();
    HistoryConnection(const HistoryConnection &) = delete;
    HistoryConnection &operator=(const HistoryConnection &) = delete;

    State state() const { return m_state; }
    QString error() const { return m_error; } ///< of the last thing that failed

    /// Runs a statement with its values in order. False with error().
    [[nodiscard]] bool run(Statement statement, const QVariantList &values);
    /// Of the last insertion.
    qint64 lastRow() const { return m_lastRow; }

private:
    bool open(const QString &path);
    bool execute(const QString &sql);
    bool prepareAll();
    void note(const QSqlError &error);

    static constexpr int statementCount = 4;

    const QString m_name; ///< of the connection in Qt's list
    std::array<std::unique_ptr<QSqlQuery>, statementCount> m_statements;
    State m_state = State::Unavailable;
    QString m_error;
    qint64 m_lastRow = -1;
};

} // namespace corvane::zirn
