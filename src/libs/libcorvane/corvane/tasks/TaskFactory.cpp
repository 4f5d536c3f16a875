#include <corvane/tasks/TaskFactory.h>

#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/CorvaneTask.h>
#include <corvane/tasks/MainThread.h>
#include <corvane/tasks/OpTask.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

class QueryTask : public CorvaneQueryTask
{
public:
    explicit QueryTask(const TaskRow &row)
        : CorvaneQueryTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}

protected:
    ZirnTaskResult doQuery(const ZirnTaskParams &arguments, QSharedPointer<model::Corvane>) override
    {
        const QString attempt = u"execute "_s + name;
        const QString unknown = unknownArgument(attempt, m_row.arguments(), arguments);
        const QVariantMap known = knownArguments(m_row.arguments(), arguments);
        const QString flaw =
            unknown.isEmpty() ? unfitArgument(attempt, m_row.arguments(), known) : unknown;
        if (!flaw.isEmpty())
            return ZirnTaskResult::failed(flaw);
        return m_row.query(ZirnTaskParams(known), SceneAccess::current());
    }

private:
    const TaskRow &m_row;
};

class MutationTask : public CorvaneMutationTask
{
public:
    explicit MutationTask(const TaskRow &row)
        : CorvaneMutationTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}

protected:
    ZirnTaskResult doMutate(const ZirnTaskParams &arguments, ops::CorvaneOpExecutor *executor,
                            QSharedPointer<model::Corvane> scene,
                            model::LogicalScene *logicalScene) override
    {
        const QString attempt = u"execute "_s + name;
        const QString unknown = unknownArgument(attempt, m_row.arguments(), arguments);
        if (!unknown.isEmpty())
            return ZirnTaskResult::failed(unknown);
        const auto result = onMainThread([&] {
            const SceneAccess access{scene, logicalScene, executor};
            return access.isCurrent() ? m_row.mutate(arguments, access) : sceneIsGone(attempt);
        });
        return result.value_or(sceneIsGone(attempt));
    }

private:
    const TaskRow &m_row;
};

class PlainTask : public ZirnTask
{
public:
    explicit PlainTask(const TaskRow &row)
        : ZirnTask(row.name, row.description.toString(), {}, {}, {})
        , m_row(row)
    {}
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) override
    {
        return m_row.plain(arguments, *context);
    }

private:
    const TaskRow &m_row;
};

ZirnTaskPtr taskOfKind(const TaskRow &row)
{
    if (row.make)
        return row.make(row);
    if (row.query)
        return QSharedPointer<QueryTask>::create(row);
    if (row.mutate)
        return QSharedPointer<MutationTask>::create(row);
    if (row.plain)
        return QSharedPointer<PlainTask>::create(row);
    return QSharedPointer<OpTask>::create(row);
}

QStringList words(QLatin1StringView text)
{
    return QString(text).split(u' ', Qt::SkipEmptyParts);
}

ZirnTaskParamDescriptor descriptorOf(const ParamRow &param)
{
    const QString value = param.defaultValue.toString();
    return {.name = param.name,
            .description = param.description.toString(),
            .defaultValue = value.isEmpty() ? QVariant() : unquoted(value),
            .required = param.isRequired};
}

} // namespace

ZirnTaskPtr makeTask(const TaskRow &row)
{
    ZirnTaskPtr task = taskOfKind(row);
    task->tags = words(row.tags);
    task->scopes = words(row.scope);
    task->outputs = words(row.outputs);
    task->example = row.example.toString();
    for (const ParamRow &param : row.arguments())
        task->params.append(descriptorOf(param));
    task->readOnly = row.isReadOnly;
    task->idempotent = row.isIdempotent;
    task->setTier(u"cad-editing"_s);
    return task;
}

} // namespace corvane::zirn
