#include <corvane/zirn/LLMSession.h>

#include <corvane/zirn/PlanReader.h>
#include <corvane/zirn/ZirnTaskRuntime.h>
#include <store/MethodGate.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QString headline(const TaskPlanResult &result)
{
    if (result.success)
        return u"Plan '%1' completed successfully."_s.arg(result.planDescription);
    if (result.cancelled)
        return u"Plan '%1' was cancelled."_s.arg(result.planDescription);
    return u"Plan '%1' failed at step %2."_s.arg(result.planDescription,
                                                 QString::number(result.failedStepIndex + 1));
}

QString joinedOutputs(const QMap<QString, QString> &outputs)
{
    QStringList pairs;
    for (auto it = outputs.cbegin(); it != outputs.cend(); ++it)
        pairs.append(it.key() + u'=' + it.value());
    return pairs.join(u", "_s);
}

} // namespace

LLMSession::LLMSession(QString id, ZirnTaskRuntime *runtime, QObject *parent)
    : QObject(parent)
    , m_id(std::move(id))
    , m_permissions(PermissionStore::create())
    , m_runtime(runtime)
{}

LLMSession::~LLMSession()
{
    m_permissions->removeGrants(GrantLifetime::Session);
}

void LLMSession::setRuntime(ZirnTaskRuntime *runtime)
{
    const store::MethodGate gate(this);
    m_runtime = runtime;
}

bool LLMSession::submitJsonPlan(const QByteArray &json, QString &error)
{
    const store::MethodGate gate(this);
    error.clear();
    if (!m_runtime) {
        error = u"No runtime available for LLM session"_s;
        return false;
    }
    TaskPlan plan;
    if (!validatePlanJson(json, plan, error))
        return false;
    return m_runtime->submit(
        plan,
        {.type = OperatorType::Llm, .id = m_id, .displayName = m_id, .permissions = m_permissions});
}

bool LLMSession::validatePlanJson(const QByteArray &json, TaskPlan &out, QString &error)
{
    PlanReader reader;
    if (reader.read(json, out))
        return true;
    error = reader.error();
    return false;
}

QString LLMSession::formatResultForLLM(const TaskPlanResult &result)
{
    QStringList lines{headline(result)};
    for (qsizetype i = 0; i < result.stepResults.size(); ++i) {
        const ZirnTaskResult &step = result.stepResults.at(i);
        lines.append(u"  [%1] %2: %3"_s.arg(QString::number(i), step.success ? u"OK"_s : u"FAIL"_s,
                                            step.message));
        if (!step.outputs.isEmpty())
            lines.append(u"      outputs: "_s + joinedOutputs(step.outputs));
    }
    return lines.join(u'\n');
}

} // namespace corvane::zirn
