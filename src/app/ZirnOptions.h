#pragma once

#include <QString>

#include <optional>

/// What the command line of `zirn` asks for.
struct ZirnOptions
{
    QString planPath{};
    QString scenePath{};  ///< null for a new scene
    QString outputPath{}; ///< null without -o

    /// Where the scene is saved; null for nowhere.
    QString savePath() const { return outputPath.isNull() ? scenePath : outputPath; }

    /// Reads the arguments from argv[2] on. On failure none, and `error` holds the line to print.
    static std::optional<ZirnOptions> parse(int argc, char **argv, QString &error);
};
