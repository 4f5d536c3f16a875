#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Runs the program under test and keeps what it said.
struct ProgramRun
{
    int status = -1;
    QString standardOutput;
    QString standardError;

    /// The last line of standard error: the closing JSON line of an export.
    QString lastErrorLine() const { return standardError.trimmed().section(QLatin1Char('\n'), -1); }
};

inline ProgramRun runProgram(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(CORVANE_PROGRAM), arguments);
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

/// Writes a file of a test's own folder and answers its path.
inline QString writeFile(const QTemporaryDir &folder, const QString &name, const QByteArray &text)
{
    const QString path = folder.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return {};
    return path;
}
