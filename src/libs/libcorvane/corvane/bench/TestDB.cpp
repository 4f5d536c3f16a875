#include <corvane/bench/TestDB.h>

#include <store/PrivateFile.h>
#include <store/RegularFile.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUrl>
#include <QUrlQuery>

namespace lab {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcTestDb, "ondrel.lab.testdb", QtWarningMsg)

namespace {

constexpr auto sqliteKey = "INTEGER PRIMARY KEY AUTOINCREMENT"_L1;
constexpr auto postgresKey = "SERIAL PRIMARY KEY"_L1;

// %1 is the type of a key.
constexpr QLatin1String schema[] = {
    "CREATE TABLE IF NOT EXISTS test_sets (id %1, name TEXT NOT NULL, description TEXT DEFAULT '', "
    "created_at TEXT NOT NULL)"_L1,
    "CREATE TABLE IF NOT EXISTS test_configs (id %1, test_set_id INTEGER NOT NULL REFERENCES "
    "test_sets(id), config_name TEXT NOT NULL, ordering INTEGER NOT NULL DEFAULT 0, params_json "
    "TEXT NOT NULL, iterations INTEGER NOT NULL DEFAULT 1000, UNIQUE(test_set_id, ordering))"_L1,
    "CREATE TABLE IF NOT EXISTS sessions (id %1, test_config_id INTEGER REFERENCES "
    "test_configs(id), config_name TEXT NOT NULL DEFAULT '', params_json TEXT NOT NULL DEFAULT "
    "'[]', started_at TEXT NOT NULL, finished_at TEXT, code_version INTEGER NOT NULL DEFAULT 0, "
    "git_commit TEXT DEFAULT '', git_branch TEXT DEFAULT '', master_seed INTEGER NOT NULL DEFAULT "
    "0, total_runs INTEGER DEFAULT 0, success_count INTEGER DEFAULT 0, mean_score REAL DEFAULT 0, "
    "best_score REAL DEFAULT 0, convergence_iter INTEGER, convergence_reason TEXT)"_L1,
    "CREATE TABLE IF NOT EXISTS runs (id %1, session_id INTEGER NOT NULL REFERENCES sessions(id), "
    "iteration INTEGER NOT NULL, success INTEGER NOT NULL DEFAULT 0, score REAL NOT NULL DEFAULT "
    "0)"_L1,
    "CREATE INDEX IF NOT EXISTS idx_runs_session ON runs(session_id)"_L1,
    "CREATE INDEX IF NOT EXISTS idx_runs_session_iter ON runs(session_id, iteration)"_L1,
    "CREATE INDEX IF NOT EXISTS idx_sessions_config ON sessions(test_config_id)"_L1,
    "CREATE INDEX IF NOT EXISTS idx_test_configs_set ON test_configs(test_set_id)"_L1,
};

// Two machines that meet an empty database at once would both make the tables, and one of them fail
// in spite of IF NOT EXISTS. The number is any that nobody else locks.
constexpr auto lockSchema = "SELECT pg_advisory_xact_lock(7243601)"_L1;

// The files of a database; the rollback journal that lies there is read when it is opened.
constexpr QLatin1String databaseSuffixes[] = {""_L1, "-journal"_L1, "-wal"_L1, "-shm"_L1};

// Opening a file reads none of this.
constexpr QLatin1String probes[] = {
    "SELECT MAX(id) FROM test_sets"_L1,
    "SELECT MAX(id) FROM test_configs"_L1,
    "SELECT MAX(id) FROM sessions"_L1,
    "SELECT MAX(id) FROM runs"_L1,
};

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QLatin1String wordOf(bool isSqlite)
{
    return isSqlite ? "QSQLITE"_L1 : "QPSQL"_L1;
}

// As connection strings have values.
QString quoted(QString value)
{
    value.replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s);
    return u'\'' + value + u'\'';
}

bool beginsAsDatabase(const QString &path)
{
    ::store::RegularFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(15) == "SQLite format 3";
}

} // namespace

// ------------------------------------------------------------------ which database

TestDB::TestDB(Driver driver, const QString &target, const QString &connectionName)
    : m_driver(driver)
    , m_target(target)
    , m_connection(u"labtest_%1"_s.arg(connectionName))
{}

TestDB::~TestDB()
{
    close();
}

TestDB TestDB::fromSQLitePath(const QString &path, const QString &connectionName)
{
    return TestDB(Driver::SQLite, path, connectionName);
}

TestDB TestDB::fromUrl(const QUrl &url, const QString &connectionName)
{
    return TestDB(Driver::PostgreSQL, url.toString(QUrl::FullyEncoded), connectionName);
}

TestDB TestDB::fromTarget(const QString &target, const QString &connectionName)
{
    return isUrl(target) ? fromUrl(QUrl(target), connectionName)
                         : fromSQLitePath(target, connectionName);
}

bool TestDB::isUrl(const QString &target)
{
    return target.startsWith("postgresql://"_L1) || target.startsWith("postgres://"_L1);
}

QString TestDB::displayName(const QString &target)
{
    if (!isUrl(target))
        return target;
    // The query may hold a password too.
    return QUrl(target).toString(QUrl::RemovePassword | QUrl::RemoveQuery);
}

// ------------------------------------------------------------------ opening

bool TestDB::open()
{
    if (m_isOpen)
        return true;
    m_isOpen = openOnce();
    if (!m_isOpen && m_isDamaged && beginsAsDatabase(m_target)) {
        close();
        store::setAsideFile(m_target, m_error, {u"-wal"_s, u"-shm"_s});
        m_isOpen = openOnce();
    }
    if (m_isOpen)
        return true;
    const QLatin1String driver = wordOf(m_driver == Driver::SQLite);
    qCWarning(lcTestDb, "lab::TestDB: Failed to open (%s): %s", driver.data(),
              qUtf8Printable(m_error));
    close();
    return false;
}

bool TestDB::openForReading()
{
    if (m_isOpen)
        return true;
    m_isOpen = connect(Access::Read) && probe();
    if (!m_isOpen)
        close();
    return m_isOpen;
}

bool TestDB::openOnce()
{
    m_isDamaged = false;
    if (!connect(Access::Write))
        return false;
    if (m_driver == Driver::SQLite &&
        !(execute(u"PRAGMA journal_mode=WAL"_s) && execute(u"PRAGMA busy_timeout=30000"_s)))
        return false;
    return createSchema() && probe();
}

bool TestDB::connect(Access access)
{
    const QString driver = wordOf(m_driver == Driver::SQLite);
    if (!QSqlDatabase::isDriverAvailable(driver))
        return fail(u"the driver %1 is not installed"_s.arg(driver));
    if (m_driver == Driver::SQLite && !checkFile(access))
        return false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(driver, m_connection);
        configure(database, access);
        if (!database.open())
            return fail(database.lastError());
    }
    if (m_driver == Driver::SQLite)
        return true;
    // Else the server remarks on each table that is there already.
    return execute(u"SET client_min_messages TO WARNING"_s) &&
           (access == Access::Write || execute(u"SET default_transaction_read_only TO on"_s));
}

bool TestDB::probe()
{
    return std::all_of(std::begin(probes), std::end(probes),
                       [this](QLatin1String sql) { return execute(sql); });
}

void TestDB::close()
{
    m_isOpen = false;
    if (QSqlDatabase::contains(m_connection))
        QSqlDatabase::removeDatabase(m_connection);
}

QSqlDatabase TestDB::database() const
{
    return QSqlDatabase::database(m_connection, false);
}

// A FIFO or a device would be waited for, or worse.
bool TestDB::checkFile(Access access)
{
    const QFileInfo file(m_target);
    if (access == Access::Read && !file.exists())
        return fail(u"no such file"_s);
    for (const auto suffix : databaseSuffixes) {
        const QFileInfo part(m_target + suffix);
        if (part.exists() && !part.isFile())
            return fail(u"%1 is no regular file"_s.arg(part.filePath()));
    }
    if (access == Access::Write && !QDir().mkpath(file.absolutePath()))
        return fail(u"cannot create the folder %1"_s.arg(file.absolutePath()));
    return true;
}

void TestDB::configure(QSqlDatabase &database, Access access) const
{
    if (m_driver == Driver::SQLite) {
        const QString readOnly = access == Access::Read ? u";QSQLITE_OPEN_READONLY"_s : QString();
        database.setDatabaseName(m_target);
        database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=30000"_s + readOnly);
        return;
    }
    const QUrl url(m_target);
    QStringList options{u"connect_timeout=10"_s};
    QString host = url.host();
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    for (const auto &[key, value] : items) {
        if (key == "host"_L1)
            host = host.isEmpty() ? value : host;
        else
            options.append(key + u'=' + quoted(value));
    }
    database.setHostName(host);
    database.setDatabaseName(url.path(QUrl::FullyDecoded).mid(1));
    database.setUserName(url.userName(QUrl::FullyDecoded));
    database.setPassword(url.password(QUrl::FullyDecoded));
    if (url.port() > 0)
        database.setPort(url.port());
    database.setConnectOptions(options.join(u';'));
}

bool TestDB::createSchema()
{
    const bool isSqlite = m_driver == Driver::SQLite;
    QList<std::pair<QString, QVariantList>> statements;
    if (!isSqlite)
        statements.append({lockSchema, {}});
    for (const QLatin1String sql : schema) {
        const QString text = sql;
        statements.append(
            {text.contains("%1"_L1) ? text.arg(isSqlite ? sqliteKey : postgresKey) : text, {}});
    }
    return transaction(statements);
}

bool TestDB::addMetricColumns(const QStringList &names)
{
    const auto hasColumn = [this](const QString &name) {
        return database().record(u"runs"_s).contains(name);
    };
    for (const QString &name : names) {
        if (hasColumn(name))
            continue;
        // Another machine may have been quicker; then all is well.
        if (!execute(u"ALTER TABLE runs ADD COLUMN \"%1\" REAL"_s.arg(name)) && !hasColumn(name))
            return false;
    }
    return true;
}

// ------------------------------------------------------------------ rows

qint64 TestDB::insertTestSet(const QString &name, const QString &description)
{
    return insert(u"INSERT INTO test_sets (name, description, created_at) VALUES (?, ?, ?)"_s,
                  {name, description, now()});
}

qint64 TestDB::insertConfig(qint64 testSetId, const QString &name, int ordering,
                            const QString &paramsJson, int iterations)
{
    return insert(u"INSERT INTO test_configs (test_set_id, config_name, ordering, params_json, "
                  "iterations) VALUES (?, ?, ?, ?, ?)"_s,
                  {testSetId, name, ordering, paramsJson, iterations});
}

qint64 TestDB::insertSession(qint64 configId, const QString &name, const QString &paramsJson,
                             const Code &code)
{
    return insert(u"INSERT INTO sessions (test_config_id, config_name, params_json, started_at, "
                  "code_version, git_commit, git_branch, master_seed) VALUES (?, ?, ?, ?, ?, ?, ?, "
                  "?)"_s,
                  {configId, name, paramsJson, now(), code.version, code.commit, code.branch, 0});
}

bool TestDB::insertRun(qint64 sessionId, int iteration, bool success, double score,
                       const Metrics &metrics)
{
    QStringList columns{u"session_id"_s, u"iteration"_s, u"success"_s, u"score"_s};
    QVariantList values{sessionId, iteration, success ? 1 : 0, score};
    for (const auto &[column, value] : metrics) {
        columns.append(u'"' + column + u'"');
        values.append(value);
    }
    const QStringList marks(columns.size(), u"?"_s);
    return transaction(
        {{u"INSERT INTO runs (%1) VALUES (%2)"_s.arg(columns.join(u", "_s), marks.join(u", "_s)),
          values}});
}

bool TestDB::finishSession(qint64 sessionId)
{
    return execute(u"UPDATE sessions SET finished_at = ?, total_runs = (SELECT COUNT(*) FROM runs "
                   "WHERE session_id = ?), success_count = (SELECT SUM(success) FROM runs WHERE "
                   "session_id = ?), mean_score = (SELECT AVG(score) FROM runs WHERE session_id = "
                   "?), best_score = (SELECT MAX(score) FROM runs WHERE session_id = ?) WHERE id = "
                   "?"_s,
                   {now(), sessionId, sessionId, sessionId, sessionId, sessionId});
}

// ------------------------------------------------------------------ statements

std::optional<QSqlQuery> TestDB::run(const QString &sql, const QVariantList &values)
{
    QSqlQuery query(database());
    // Without values nothing is prepared: some statements cannot be.
    bool done = values.isEmpty() ? query.exec(sql) : query.prepare(sql);
    if (done && !values.isEmpty()) {
        for (const QVariant &value : values)
            query.addBindValue(value);
        done = query.exec();
    }
    // A page may turn out to be broken only when its rows are fetched.
    if (done && query.isSelect() && !query.next())
        done = !query.lastError().isValid();
    if (done)
        return query;
    fail(query.lastError());
    return std::nullopt;
}

bool TestDB::execute(const QString &sql, const QVariantList &values)
{
    return run(sql, values).has_value();
}

qint64 TestDB::insert(const QString &sql, const QVariantList &values)
{
    const auto query = run(sql, values);
    return query ? query->lastInsertId().toLongLong() : -1;
}

bool TestDB::transaction(const QList<std::pair<QString, QVariantList>> &statements)
{
    if (!execute(u"BEGIN TRANSACTION"_s))
        return false;
    const bool done = std::all_of(statements.begin(), statements.end(), [this](const auto &one) {
        return execute(one.first, one.second);
    });
    if (done && execute(u"COMMIT"_s))
        return true;
    const QString why = m_error;
    execute(u"ROLLBACK"_s);
    return fail(why);
}

bool TestDB::fail(const QSqlError &error)
{
    // What SQLite says of a file whose pages contradict each other, or that has none.
    constexpr int corrupt = 11;
    constexpr int notADatabase = 26;
    const int primary = error.nativeErrorCode().toInt() & 0xff;
    if (m_driver == Driver::SQLite && (primary == corrupt || primary == notADatabase))
        m_isDamaged = true;
    return fail(error.text());
}

bool TestDB::fail(const QString &error)
{
    m_error = error.trimmed();
    return false;
}

} // namespace lab
