// Writes the manual page: fills the template with what the definitions and tasks say of themselves.
// Usage: corvane_manual <template> <output>

#include "DefinitionChapter.h"
#include "TaskChapter.h"

#include <corvane/registry/Registry.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/ZirnTaskRegistry.h>
#include <store/SafeFile.h>

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "%s\n", qPrintable(u"corvane_manual: "_s + message));
    return 1;
}

/// False when the template has no such line.
bool fillHole(QString &page, QLatin1StringView hole, const QString &chapter)
{
    const QString line = u".\\\" {{%1}}\n"_s.arg(hole);
    const qsizetype place = page.indexOf(line);
    if (place < 0)
        return false;
    page.replace(place, line.size(), chapter);
    return true;
}

QString definitions()
{
    // Not the registry of the process, which would bring the library of who builds this.
    corvane::registry::Registry registry;
    registry.loadBuiltinPrimitives();
    return definitionChapter(registry);
}

QString tasks()
{
    corvane::zirn::registerCorvaneTasks();
    return taskChapter(corvane::zirn::ZirnTaskRegistry::instance());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return fail(u"usage: corvane_manual <template> <output>"_s);
    const QCoreApplication application(argc, argv);
    QFile source(QFile::decodeName(argv[1]));
    if (!source.open(QIODevice::ReadOnly))
        return fail(u"cannot open "_s + source.fileName());
    QString page = QString::fromUtf8(source.readAll());
    if (!fillHole(page, "DEFINITIONS"_L1, definitions()) || !fillHole(page, "TASKS"_L1, tasks()))
        return fail(u"the template lacks a hole: "_s + source.fileName());
    store::SafeFile target(QFile::decodeName(argv[2]));
    if (!target.open() || !target.write(page.toUtf8()) || !target.commit())
        return fail(u"cannot write the page"_s);
    return 0;
}
