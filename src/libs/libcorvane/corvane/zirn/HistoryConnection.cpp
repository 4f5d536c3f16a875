#include <corvane/zirn/HistoryConnection.h>

#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

// A crash of the program loses nothing in this mode, a crash of the machine at most the last rows;
// to sync each row would make a step as slow as the disk.
constexpr const char16_t *setUp[] = {
    // No longer: a step waits for its rows, and history is not to be in its way.
    u"PRAGMA busy_timeout=1000",
    u"PRAGMA journal_mode=WAL",
    u"PRAGMA synchronous=NORMAL",
    u"PRAGMA foreign_keys=ON",
    u"CREATE TABLE IF NOT EXISTS plan_executions ("
    u"  id              INTEGER PRIMARY KEY AUTOINCREMENT,"
    u"  description     TEXT NOT NULL,"
    u"  operator_type   TEXT NOT NULL,"
    u"  operator_id     TEXT NOT NULL,"
    u"  submitted_at    TEXT NOT NULL,"
    u"  step_count      INTEGER NOT NULL,"
    u"  finished_at     TEXT,"
    u"  success         INTEGER,"
    u"  cancelled       INTEGER,"
    u"  failed_step_idx INTEGER)",
    // The key is what keeps the update of a step as quick in a long plan as in a short one.
    u"CREATE TABLE IF NOT EXISTS step_results ("
    u"  plan_id      INTEGER NOT NULL REFERENCES plan_executions(id),"
    u"  step_index   INTEGER NOT NULL,"
    u"  task_name    TEXT NOT NULL,"
    u"  args_json    TEXT NOT NULL,"
    u"  started_at   TEXT NOT NULL,"
    u"  finished_at  TEXT,"
    u"  success      INTEGER,"
    u"  message      TEXT,"
    u"  outputs_json TEXT,"
    u"  PRIMARY KEY (plan_id, step_index))",
    // Opening reads nothing, so the tables are asked for something.
    u"SELECT max(id) FROM plan_executions",
    u"SELECT max(plan_id) FROM step_results",
};

constexpr const char16_t *statementTexts[] = {
    u"INSERT INTO plan_executions (description, operator_type, operator_id, submitted_at, "
    u"step_count) VALUES (?, ?, ?, ?, ?)",
    u"INSERT INTO step_results (plan_id, step_index, task_name, args_json, started_at) VALUES "
    u"(?, ?, ?, ?, ?)",
    u"UPDATE step_results SET finished_at = ?, success = ?, message = ?, outputs_json = ? WHERE "
    u"plan_id = ? AND step_index = ?",
    u"UPDATE plan_executions SET finished_at = ?, success = ?, cancelled = ?, failed_step_idx = ? "
    u"WHERE id = ?",
};

/// What SQLite says of a file that is no database, or whose pages contradict each other.
bool tellsOfDamage(const QSqlError &error)
{
    constexpr int corrupt = 11;
    constexpr int notADatabase = 26;
    const int primary = error.nativeErrorCode().toInt() & 0xff;
    return primary == corrupt || primary == notADatabase;
}

} // namespace

HistoryConnection::HistoryConnection(const QString &path)
    : m_name(u"zirn-history-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    if (open(path))
        m_state = State::Open;
}

HistoryConnection::~HistoryConnection()
{
    for (auto &statement : m_statements)
        statement.reset();
    QSqlDatabase::removeDatabase(m_name);
}

bool HistoryConnection::open(const QString &path)
{
    const QFileInfo file(path);
    for (const auto suffix : {""_L1, "-journal"_L1, "-wal"_L1, "-shm"_L1}) {
        const QFileInfo part(path + suffix);
        if (part.exists() && !part.isFile()) {
            m_error = part.filePath() + u" is no regular file"_s;
            return false;
        }
    }
    if (!QDir().mkpath(file.absolutePath())) {
        m_error = u"cannot create the folder "_s + file.absolutePath();
        return false;
    }
    QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_name);
    database.setDatabaseName(path);
    if (!database.open()) {
        note(database.lastError());
        return false;
    }
    for (const char16_t *sql : setUp) {
        if (!execute(QString::fromUtf16(sql)))
            return false;
    }
    return prepareAll();
}

bool HistoryConnection::execute(const QString &sql)
{
    QSqlQuery query(QSqlDatabase::database(m_name));
    if (query.exec(sql) && (!query.isSelect() || query.next() || !query.lastError().isValid()))
        return true;
    note(query.lastError());
    return false;
}

bool HistoryConnection::prepareAll()
{
    static_assert(std::size(statementTexts) == statementCount);
    for (int i = 0; i < statementCount; ++i) {
        auto query = std::make_unique<QSqlQuery>(QSqlDatabase::database(m_name));
        if (!query->prepare(QString::fromUtf16(statementTexts[i]))) {
            note(query->lastError());
            return false;
        }
        m_statements[std::size_t(i)] = std::move(query);
    }
    return true;
}

void HistoryConnection::note(const QSqlError &error)
{
    m_error = error.text();
    m_state = tellsOfDamage(error) ? State::Damaged : State::Unavailable;
}

bool HistoryConnection::run(Statement statement, const QVariantList &values)
{
    const auto &query = m_statements[std::size_t(statement)];
    if (!query)
        return false;
    for (qsizetype i = 0; i < values.size(); ++i)
        query->bindValue(int(i), values.at(i));
    const bool done = query->exec();
    if (done)
        m_lastRow = query->lastInsertId().toLongLong();
    else
        m_error = query->lastError().text();
    query->finish();
    return done;
}

} // namespace corvane::zirn
