// The compiler is run without a shell, with arguments as a list, and is killed with all that it
// started when it takes too long or nobody waits any more.

#include <eval/internal/native/CompilerProcess.h>

#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QScopeGuard>

#include <csignal>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

constexpr int endMilliseconds = 5'000; // for one that was killed
constexpr int pollMilliseconds = 50;
constexpr qint64 keptOutput = 64 << 10;

QProcessEnvironment childEnvironment(const QString &folder)
{
    QProcessEnvironment environment;
    environment.insert(u"PATH"_s, qEnvironmentVariable("PATH"));
    environment.insert(u"LANG"_s, u"C"_s);
    environment.insert(u"TMPDIR"_s, folder);
    return environment;
}

void limitResource(int resource, qint64 most)
{
    const auto value = static_cast<rlim_t>(most);
    const rlimit limit = {value, value};
    setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

/// Runs in the child between fork and exec: system calls only.
void confine(const CompilerLimits &limits, std::atomic<pid_t> *group, pid_t parent)
{
    setpgid(0, 0);
    if (group)
        *group = getpid();
    // Nobody ends the group of a process that was killed itself, nor of one that is gone by now.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    limitResource(RLIMIT_AS, limits.memory);
    limitResource(RLIMIT_CPU, limits.processorSeconds);
    limitResource(RLIMIT_FSIZE, limits.object);
    limitResource(RLIMIT_CORE, 0);
}

/// Reads what a process says until it ends; why it had to be ended, or nothing.
QString watch(QProcess &process, const CompilerLimits &limits, QByteArray &output)
{
    const QDeadlineTimer deadline(limits.time);
    qint64 seen = 0;
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(pollMilliseconds);
        const QByteArray text = process.readAll();
        seen += text.size();
        output += text.first(std::min<qsizetype>(text.size(), keptOutput - output.size()));
        if (seen > limits.output)
            return u"Compiler wrote more than %1 bytes of messages"_s.arg(limits.output);
        if (deadline.hasExpired())
            return u"Compiler timeout (%1s)"_s.arg(
                std::chrono::duration_cast<std::chrono::seconds>(limits.time).count());
        // Without output the wait above may return at once.
        if (text.isEmpty())
            process.waitForFinished(pollMilliseconds);
    }
    const QByteArray rest = process.readAll();
    output += rest.first(std::min<qsizetype>(rest.size(), keptOutput - output.size()));
    return {};
}

} // namespace

CompilerRun runCompiler(const QString &program, const QStringList &arguments,
                        const NativeWorkspace &workspace, const CompilerLimits &limits)
{
    // Once it was collected its number may be another's.
    const auto forget = qScopeGuard([slot = workspace.group()] {
        if (slot)
            *slot = 0;
    });
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProcessEnvironment(childEnvironment(workspace.path()));
    process.setWorkingDirectory(workspace.path());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier(
        [&limits, slot = workspace.group(), parent = getpid()] { confine(limits, slot, parent); });
    process.start(program, arguments);
    if (!process.waitForStarted(static_cast<int>(limits.start.count())))
        return {false, u"Could not start %1: %2"_s.arg(program, process.errorString())};
    // The group has the number of its leader; what the leader leaves behind ends with it.
    const auto group = static_cast<pid_t>(process.processId());
    QByteArray output;
    QString ended;
    {
        const auto endGroup = qScopeGuard([group] { kill(-group, SIGKILL); });
        ended = watch(process, limits, output);
    }
    process.waitForFinished(endMilliseconds);
    if (!ended.isEmpty())
        return {false, ended};
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return {true, {}};
    const QString text = QString::fromLocal8Bit(output).trimmed();
    return {false, !text.isEmpty()
                       ? text
                       : u"Compiler failed (exit code %1) with no diagnostic output"_s.arg(
                             process.exitCode())};
}

QString findCompiler(const NativeWorkspace &workspace, const CompilerLimits &limits)
{
    CompilerLimits quick = limits;
    quick.start = std::min<std::chrono::milliseconds>(quick.start, std::chrono::seconds(2));
    quick.time = std::min<std::chrono::milliseconds>(quick.time, std::chrono::seconds(5));
    for (const QString &name : {u"g++"_s, u"clang++"_s}) {
        if (runCompiler(name, {u"--version"_s}, workspace, quick).succeeded)
            return name;
    }
    return u"g++"_s;
}

} // namespace eval::internal
