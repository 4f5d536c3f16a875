#include <corvane/tasks/CorvaneTasks.h>

#include <corvane/model/NearestName.h>
#include <corvane/tasks/TaskFactory.h>
#include <corvane/zirn/ZirnTaskRegistry.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

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
        target.registerTask(makeTask(*row));
    target.setNameAdvice([](const QString &name, const QStringList &known) {
        return model::didYouMean(name, known, {});
    });
    target.setReady(true);
}

} // namespace corvane::zirn
