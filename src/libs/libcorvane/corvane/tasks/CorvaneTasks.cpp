#include <corvane/tasks/CorvaneTasks.h>

#include <corvane/tasks/OpTask.h>
#include <corvane/zirn/ZirnTaskRegistry.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QStringList words(QLatin1StringView text)
{
    return QString(text).split(u' ', Qt::SkipEmptyParts);
}

ZirnTaskPtr taskOf(const TaskRow &row)
{
    ZirnTaskPtr task = makeTask(row);
    task->tags = words(row.tags);
    task->scopes = words(row.scope);
    task->outputs = words(row.outputs);
    if (row.kind == TaskKind::Mutation)
        task->outputs += {u"error_count"_s, u"number_of_new_errors"_s};
    task->example = row.example.toString();
    for (const ParamRow &param : row.arguments())
        task->params.append({.name = param.name,
                             .description = param.description.toString(),
                             .defaultValue = param.defaultValue.isEmpty()
                                                 ? QVariant()
                                                 : QVariant(param.defaultValue.toString()),
                             .required = param.isRequired});
    task->readOnly = row.isReadOnly;
    task->idempotent = row.isIdempotent;
    task->setTier(u"cad-editing"_s);
    return task;
}

} // namespace

QList<const TaskRow *> taskCatalogue()
{
    QList<const TaskRow *> rows;
    for (const auto &family :
         {editTaskRows(), queryTaskRows(), documentTaskRows(), serviceTaskRows()}) {
        for (const TaskRow &row : family)
            rows.append(&row);
    }
    return rows;
}

void registerCorvaneTasks(ZirnTaskRegistry *registry)
{
    ZirnTaskRegistry &target = registry ? *registry : ZirnTaskRegistry::instance();
    if (target.contains(u"corvane.item.add"_s))
        return;
    const QList<const TaskRow *> rows = taskCatalogue();
    for (const TaskRow *row : rows)
        target.registerTask(taskOf(*row));
    target.setReady(true);
}

} // namespace corvane::zirn
