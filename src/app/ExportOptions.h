#pragma once

#include <QString>

#include <optional>

/// What the command line of `export` asks for.
struct ExportOptions
{
    QString scenePath;
    QString outputPath;         ///< null without -o
    QString parametersPath;     ///< null without --params
    std::optional<int> backend; ///< 0 CPU, 1 GPU, 2 native
    std::optional<float> cellSize;
    bool errorOnEmpty = false;

    /// Reads the arguments from argv[2] on. On failure none, and `error` holds the lines to print.
    static std::optional<ExportOptions> parse(int argc, char **argv, QString &error);
    /// The usage lines of the command.
    static QString usage();
};
