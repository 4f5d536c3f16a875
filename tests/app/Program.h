#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// What a program said, and how it ended.
struct ProgramRun
{
    int status = -1;
    QString standardOutput;
    QString standardError;

    /// The last line of standard error: the closing JSON line of an export.
    QString lastErrorLine() const { return standardError.trimmed().section(QLatin1Char('\n'), -1); }
};

inline ProgramRun runCommand(const QString &program, const QStringList &arguments,
                             const QString &folder = {})
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForFinished(240000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

inline ProgramRun runProgram(const QStringList &arguments)
{
    return runCommand(QStringLiteral(CORVANE_PROGRAM), arguments);
}

/// Runs lines of bash that find the program under test on their path, up to the first that fails.
inline ProgramRun runShell(const QString &lines, const QString &folder)
{
    const QString prologue =
        QStringLiteral("PATH='%1':$PATH\n").arg(QFileInfo(QStringLiteral(CORVANE_PROGRAM)).path());
    return runCommand(QStringLiteral("bash"), {QStringLiteral("-ec"), QString(prologue + lines)},
                      folder);
}

/// Writes a file of a test's own folder and answers its path.
inline QString writeFile(const QTemporaryDir &folder, const QString &name, const QByteArray &text)
{
    const QString path = folder.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return {};
    return path;
}
