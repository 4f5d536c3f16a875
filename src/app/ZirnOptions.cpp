#include "ZirnOptions.h"

#include "CorvaneMain.h"

using namespace Qt::StringLiterals;

std::optional<ZirnOptions> ZirnOptions::parse(int argc, char **argv, QString &error)
{
    if (argc <= 2) {
        error = u"Usage: corvane zirn <plan.json> [<file.corvane>] [-o <out.corvane>]"_s;
        return std::nullopt;
    }
    ZirnOptions options{.planPath = CorvaneMain::pathArgument(argv[2])};
    for (int i = 3; i < argc; ++i) {
        const QString argument = CorvaneMain::pathArgument(argv[i]);
        const bool isOutput = argument == "-o"_L1 || argument == "--output"_L1;
        if (isOutput && i + 1 < argc) {
            options.outputPath = CorvaneMain::pathArgument(argv[++i]);
        } else if (argument.startsWith(u'-')) {
            error = u"Error: unrecognised argument '%1'"_s.arg(argument);
            return std::nullopt;
        } else if (options.scenePath.isNull()) {
            options.scenePath = argument;
        } else {
            error = u"Error: unexpected extra argument '%1'"_s.arg(argument);
            return std::nullopt;
        }
    }
    return options;
}
