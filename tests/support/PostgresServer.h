// A PostgreSQL server for one test: its data are in a temporary folder, and it listens on a socket
// there alone.
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <unistd.h>

namespace support {

class PostgresServer
{
public:
    PostgresServer()
    {
        using namespace Qt::StringLiterals;
        const QDir versions(u"/usr/lib/postgresql"_s);
        const QStringList installed = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (!installed.isEmpty())
            m_programs = versions.filePath(installed.last() + u"/bin/"_s);
    }
    ~PostgresServer()
    {
        using namespace Qt::StringLiterals;
        if (m_isRunning)
            run(u"pg_ctl"_s, {u"-D"_s, m_data, u"-m"_s, u"immediate"_s, u"-w"_s, u"stop"_s});
        if (::geteuid() == 0)
            call(u"rm"_s, {u"-rf"_s, m_data}); // not ours to remove otherwise
    }
    PostgresServer(const PostgresServer &) = delete;
    PostgresServer &operator=(const PostgresServer &) = delete;

    bool isInstalled() const { return !m_programs.isEmpty(); }

    /// Makes a cluster and comes back when it takes connections.
    bool start()
    {
        using namespace Qt::StringLiterals;
        const auto everything = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
        QFile::setPermissions(m_folder.path(), everything);
        m_data = m_folder.filePath(u"data"_s);
        m_isRunning =
            run(u"initdb"_s,
                {u"-D"_s, m_data, u"-U"_s, u"corvane"_s, u"-A"_s, u"trust"_s, u"--no-sync"_s}) &&
            run(u"pg_ctl"_s,
                {u"-D"_s, m_data, u"-l"_s, m_data + u"/log"_s, u"-w"_s, u"-o"_s,
                 u"-c listen_addresses='' -c fsync=off -k %1"_s.arg(m_folder.path()), u"start"_s});
        return m_isRunning;
    }
    QString url() const
    {
        return QStringLiteral("postgresql:///postgres?host=%1&user=corvane").arg(m_folder.path());
    }

private:
    // The server refuses to run as root.
    bool run(const QString &program, const QStringList &arguments) const
    {
        using namespace Qt::StringLiterals;
        if (::geteuid() != 0)
            return call(m_programs + program, arguments);
        return call(u"runuser"_s,
                    QStringList{u"-u"_s, u"postgres"_s, u"--"_s, m_programs + program} + arguments);
    }
    bool call(const QString &program, const QStringList &arguments) const
    {
        constexpr int patienceMs = 60000;
        QProcess process;
        process.setWorkingDirectory(m_folder.path());
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, arguments);
        return process.waitForFinished(patienceMs) &&
               process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    QTemporaryDir m_folder;
    QString m_programs, m_data;
    bool m_isRunning = false;
};

} // namespace support
