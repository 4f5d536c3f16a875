#include "ExportOptions.h"

#include "CorvaneMain.h"

#include <corvane/xport/ExportRequest.h>

#include <QByteArray>

using namespace Qt::StringLiterals;

namespace {

constexpr auto usageLines =
    R"(Usage: corvane export <file.corvane> [-o <output>] [--params <params.json>]
                        [--backend cpu|gpu|native] [--cell-size <float>] [--error-on-empty])"_L1;

// Any other word means the CPU: a scene exports on a machine that lacks what its script asks for.
int backendOf(const QByteArray &word)
{
    return int(corvane::xport::exportBackendNamed(QString::fromLocal8Bit(word)));
}

bool readCellSize(const QByteArray &text, ExportOptions &options)
{
    bool ok = false;
    const float size = text.toFloat(&ok);
    if (!ok || !(size > 0.0f) || qIsInf(size))
        return false;
    options.cellSize = size;
    return true;
}

} // namespace

QString ExportOptions::usage()
{
    return usageLines;
}

std::optional<ExportOptions> ExportOptions::parse(int argc, char **argv, QString &error)
{
    if (argc <= 2) {
        error = usage();
        return std::nullopt;
    }
    ExportOptions options;
    options.scenePath = CorvaneMain::pathArgument(argv[2]);
    for (int i = 3; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        const bool hasValue = i + 1 < argc;
        if (hasValue && (argument == "-o" || argument == "--output")) {
            options.outputPath = CorvaneMain::pathArgument(argv[++i]);
        } else if (hasValue && argument == "--params") {
            options.parametersPath = CorvaneMain::pathArgument(argv[++i]);
        } else if (hasValue && argument == "--backend") {
            options.backend = backendOf(argv[++i]);
        } else if (hasValue && argument == "--cell-size") {
            if (!readCellSize(argv[++i], options)) {
                error = u"Error: invalid --cell-size value"_s;
                return std::nullopt;
            }
        } else if (argument == "--error-on-empty") {
            options.errorOnEmpty = true;
        } else {
            error = u"Error: unrecognised argument '"_s + QString::fromLocal8Bit(argument) +
                    u"'\n"_s + usage();
            return std::nullopt;
        }
    }
    return options;
}
