#include "TaskChapter.h"

#include "RoffText.h"

#include <corvane/zirn/ZirnTaskRegistry.h>

using namespace Qt::StringLiterals;
using corvane::zirn::ZirnTask;
using corvane::zirn::ZirnTaskParamDescriptor;

namespace {

QString argumentEntry(const ZirnTaskParamDescriptor &argument)
{
    QString fact = argument.required ? u"required"_s : u"optional"_s;
    if (argument.defaultValue.isValid())
        fact += u", default "_s + roff::valueText(argument.defaultValue);
    return u".TP\n\\fI%1\\fR (%2)\n%3"_s.arg(roff::text(argument.name), roff::text(fact),
                                             roff::sentence(argument.description));
}

/// In an example, blanks and quotes count.
QString exampleOf(const ZirnTask &task)
{
    return task.example.isEmpty() ? QString()
                                  : u".PP\n.nf\n%1\n.fi\n"_s.arg(roff::text(task.example));
}

QString taskEntry(const ZirnTask &task)
{
    QString entry =
        u".TP\n.B %1\n%2"_s.arg(roff::text(task.name), roff::sentence(task.description));
    entry += u".RS\n"_s;
    for (const ZirnTaskParamDescriptor &argument : task.params)
        entry += argumentEntry(argument);
    if (!task.outputs.isEmpty())
        entry += u".PP\nOutputs: \\fI%1\\fR.\n"_s.arg(roff::text(task.outputs.join(u", "_s)));
    return entry + exampleOf(task) + u".RE\n"_s;
}

} // namespace

QString taskChapter(const corvane::zirn::ZirnTaskRegistry &registry)
{
    QString chapter;
    const QStringList names = registry.taskNames();
    for (const QString &name : names)
        chapter += taskEntry(*registry.task(name));
    return chapter;
}
