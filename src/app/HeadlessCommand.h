#pragma once

#include "CorvaneMain.h"
#include "Interruption.h"

#include <QCoreApplication>

namespace CorvaneMain {

/// The start of a command that writes files: reads the command line, sets the application up and
/// lets `work` do the rest. Answers the exit status; that of a usage error, with the reason
/// printed, when `Options::parse` refuses the arguments.
template<class Options>
int runHeadless(int argc, char **argv, int (*work)(const Options &))
{
    QString error;
    const auto options = Options::parse(argc, argv, error);
    if (!options) {
        printError(error);
        return UsageError;
    }
    const QCoreApplication application(argc, argv);
    applyApplicationNames();
    installInterruptionHandler();
    return work(*options);
}

} // namespace CorvaneMain
