#pragma once

#include <QString>

class QCoreApplication;

/// The modes of the program. `main` picks one by the first argument, before any application object
/// exists, so that the headless modes never touch a display.
///
/// Every entry function takes main's arguments and answers the exit status: 0 success, 1 input or
/// output error, 2 usage error, 3 what failed after the scene was loaded.
namespace CorvaneMain {

enum ExitStatus { Success = 0, InputOutputError = 1, UsageError = 2, OperationFailed = 3 };

/// Picks the mode and runs it.
int run(int argc, char **argv);

int runGui(int argc, char **argv);
int runVersion(int argc, char **argv);
int runHelp(int argc, char **argv);
int runSchema(int argc, char **argv);
int runValidate(int argc, char **argv);
int runExport(int argc, char **argv);
int runZirn(int argc, char **argv);

/// Sets the names that decide where settings and caches lie, and the version that keys the caches.
void applyApplicationNames();

/// A path given on the command line, in the local 8-bit encoding.
QString pathArgument(const char *argument);

/// Writes one line to standard error, as UTF-8, and flushes it.
void printError(const QString &line);
/// Writes text to standard output, as UTF-8. False when it could not all be written.
bool printOutput(const QString &text);

} // namespace CorvaneMain
