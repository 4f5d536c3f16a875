#include <corvane/zirn/ZirnHistoryDatabase.h>

#include <corvane/zirn/HistoryConnection.h>
#include <store/MethodGate.h>
#include <store/PrivateFile.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QThread>

#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

Q_LOGGING_CATEGORY(lcHistory, "ondrel.zirn.history")

namespace {

using Statement = HistoryConnection::Statement;

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QString compactJson(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString outputsJson(const QMap<QString, QString> &outputs)
{
    QJsonObject object;
    for (auto it = outputs.cbegin(); it != outputs.cend(); ++it)
        object.insert(it.key(), it.value());
    return compactJson(object);
}

/// A null text would be a NULL of the table.
QString text(const QString &value)
{
    return value.isNull() ? u""_s : value;
}

bool write(HistoryConnection &connection, Statement statement, const QVariantList &values,
           const char *method)
{
    if (connection.run(statement, values))
        return true;
    qCWarning(lcHistory).noquote().nospace()
        << "ZirnHistoryDatabase: " << method << " failed: " << connection.error();
    return false;
}

} // namespace

ZirnHistoryDatabase::ZirnHistoryDatabase(QString path, QObject *parent)
    : QObject(parent)
    , m_path(std::move(path))
{}

ZirnHistoryDatabase::~ZirnHistoryDatabase() = default;

bool ZirnHistoryDatabase::isUsable()
{
    const store::MethodGate gate(this);
    return connection()->state() == HistoryConnection::State::Open;
}

std::shared_ptr<HistoryConnection> ZirnHistoryDatabase::connection()
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<HistoryConnection> &own = m_connections[QThread::currentThread()];
    if (own && own->state() == HistoryConnection::State::Open)
        return own;
    own = std::make_shared<HistoryConnection>(m_path);
    if (own->state() == HistoryConnection::State::Damaged) {
        own.reset();
        store::setAsideFile(m_path, u"it is no database of the history any more"_s,
                            {u"-wal"_s, u"-shm"_s});
        own = std::make_shared<HistoryConnection>(m_path);
    }
    return own;
}

void ZirnHistoryDatabase::closeThreadConnection()
{
    const store::MethodGate gate(this);
    const std::lock_guard lock(m_mutex);
    m_connections.erase(QThread::currentThread());
}

qint64 ZirnHistoryDatabase::logPlanSubmitted(const TaskPlan &plan, const Operator &op)
{
    const store::MethodGate gate(this);
    const auto open = connection();
    const QVariantList values{text(plan.description), QString(operatorTypeWord(op.type)),
                              text(op.id), now(), plan.steps.size()};
    if (!write(*open, Statement::InsertPlan, values, "logPlanSubmitted"))
        return noRow;
    const qint64 row = open->lastRow();
    emit historyChanged();
    return row;
}

void ZirnHistoryDatabase::logStepStarted(qint64 planRow, qint32 stepIndex,
                                         const TaskPlanStep &resolvedStep)
{
    const store::MethodGate gate(this);
    if (planRow == noRow)
        return;
    const QString args = compactJson(QJsonObject::fromVariantMap(resolvedStep.args));
    write(*connection(), Statement::InsertStep,
          {planRow, stepIndex, text(resolvedStep.task), args, now()}, "logStepStarted");
}

void ZirnHistoryDatabase::logStepCompleted(qint64 planRow, qint32 stepIndex,
                                           const ZirnTaskResult &result)
{
    const store::MethodGate gate(this);
    if (planRow == noRow)
        return;
    write(*connection(), Statement::UpdateStep,
          {now(), result.success, text(result.message), outputsJson(result.outputs), planRow,
           stepIndex},
          "logStepCompleted");
}

void ZirnHistoryDatabase::logPlanCompleted(qint64 planRow, const TaskPlanResult &result)
{
    const store::MethodGate gate(this);
    if (planRow == noRow)
        return;
    const QVariant failedStep =
        result.failedStepIndex < 0 ? QVariant() : QVariant(result.failedStepIndex);
    const QVariantList values{now(), result.success, result.cancelled, failedStep, planRow};
    if (write(*connection(), Statement::UpdatePlan, values, "logPlanCompleted"))
        emit historyChanged();
}

} // namespace corvane::zirn
