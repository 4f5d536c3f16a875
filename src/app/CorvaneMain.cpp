#include "CorvaneMain.h"

#include "BuildInfo.h"
#include "Constants.h"
#include "MessageHandler.h"
#include "ProgressPrinter.h"
#include "TerminalText.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr auto usageText = R"(Corvane — 3D CAD editor and headless mesh tool.

Usage:
  corvane                            Launch the graphical editor
  corvane gui                        Launch the graphical editor
  corvane --version, -v              Print the version and exit
  corvane --help, -h                 Print this help and exit
  corvane schema <file.corvane>    Print the scene parameter schema as JSON
  corvane validate <file.corvane>  Load a scene and report var/instance/root counts
  corvane export <file.corvane> [options]
                                       Mesh the scene and write it to disk
  corvane zirn <plan.json> [<file.corvane>] [-o <out>]
                                       Run a ZIRN task plan against a scene (headless
                                       authoring); saves to -o, else back to the input

Export options:
  -o, --output <path>       Output mesh (format from extension: .stl .obj .ply .vtk)
  --params <params.json>    JSON object of varset parameter overrides
  --backend cpu|gpu|native  Meshing backend (default: cpu)
  --cell-size <float>       Marching-cubes cell size
  --error-on-empty          Exit non-zero if the mesh has 0 triangles

Exit codes:
  0  Success (a valid empty mesh is success unless --error-on-empty)
  1  Input/output error (file not found, unreadable, or unwritable)
  2  Usage error (unknown argument or missing operand)
  3  Export failed)";

struct Mode
{
    const char *word;
    int (*run)(int argc, char **argv);
};

constexpr Mode modes[] = {
    {"--version", &CorvaneMain::runVersion}, {"-v", &CorvaneMain::runVersion},
    {"--help", &CorvaneMain::runHelp},       {"-h", &CorvaneMain::runHelp},
    {"help", &CorvaneMain::runHelp},         {"schema", &CorvaneMain::runSchema},
    {"export", &CorvaneMain::runExport},     {"zirn", &CorvaneMain::runZirn},
    {"validate", &CorvaneMain::runValidate}, {"gui", &CorvaneMain::runGui},
};

// What a command was given does not matter then: nothing is read and nothing is written.
bool asksForHelp(int argc, char **argv)
{
    return std::any_of(argv + 2, argv + argc, [](const char *argument) {
        return std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0;
    });
}

/// Bytes that are no ASCII are shown as "\xe9".
QString shownBytes(const QByteArray &bytes)
{
    QString shown;
    for (const char byte : bytes)
        shown += uchar(byte) < 0x80 ? QString(QLatin1Char(byte))
                                    : u"\\x%1"_s.arg(int(uchar(byte)), 2, 16, QLatin1Char('0'));
    return shown;
}

/// Paths are handled as text, in UTF-8 whatever the locale. One that is no text would lead to
/// another file, or make one.
bool isText(const QString &name, const char *value)
{
    const QByteArray bytes(value);
    if (QFile::encodeName(CorvaneMain::pathArgument(value)) == bytes)
        return true;
    CorvaneMain::printError(u"Error: %1 is not valid UTF-8: '%2'. Use another file name"_s.arg(
        name, shownBytes(bytes)));
    return false;
}

/// The arguments, and the variables that say where settings, caches and temporary files lie.
bool areNamesText(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (!isText(u"argument %1"_s.arg(i), argv[i]))
            return false;
    }
    for (const char *name :
         {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "TMPDIR"}) {
        if (!isText(u"the environment variable %1"_s.arg(QLatin1StringView(name)),
                    qgetenv(name).constData()))
            return false;
    }
    return true;
}

} // namespace

namespace CorvaneMain {

int run(int argc, char **argv)
{
    // Numbers in files and on the command line are the same everywhere.
    std::setlocale(LC_NUMERIC, "C");
    installMessageHandler();
    if (argc <= 1)
        return runGui(argc, argv);
    if (!areNamesText(argc, argv))
        return InputOutputError;
    for (const Mode &mode : modes) {
        if (std::strcmp(argv[1], mode.word) == 0)
            return asksForHelp(argc, argv) ? runHelp(argc, argv) : mode.run(argc, argv);
    }
    printError(u"Error: unrecognised command '"_s + QString::fromLocal8Bit(argv[1]) + u"'\n"_s);
    printError(QString::fromUtf8(usageText));
    return UsageError;
}

int runGui(int, char **)
{
    printError(
        u"Error: this build has no graphical editor; 'corvane --help' lists the commands that it has"_s);
    return OperationFailed;
}

int runVersion(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return printOutput(u"corvane "_s + BuildInfo::commitShort() + u'\n') ? Success
                                                                         : InputOutputError;
}

int runHelp(int, char **)
{
    return printOutput(QString::fromUtf8(usageText) + u'\n') ? Success : InputOutputError;
}

void applyApplicationNames()
{
    QCoreApplication::setOrganizationName(Constants::ORGANIZATION_NAME_PLAIN);
    QCoreApplication::setOrganizationDomain(Constants::DOMAIN_NAME_PLAIN);
    QCoreApplication::setApplicationName(Constants::BRAND_NAME_PLAIN + " Corvane"_L1);
    QCoreApplication::setApplicationVersion(BuildInfo::commitShort());
}

QString pathArgument(const char *argument)
{
    return QString::fromLocal8Bit(argument);
}

void printError(const QString &line)
{
    ProgressPrinter::printAbove(terminalText(line).toUtf8() + '\n');
}

bool printOutput(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = size_t(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

} // namespace CorvaneMain
