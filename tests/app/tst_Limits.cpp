// Exports in a process that may take little memory, or start few threads: each ends by itself.

#include "Program.h"

#include <support/Files.h>

#include <QRegularExpression>
#include <QTest>

#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::contentOf;

namespace {

constexpr auto scene = R"(corvane:
  settings:
    export:
      bounds: {minX: -4.2, minY: -4.2, minZ: -4.2, maxX: 4.2, maxY: 4.2, maxZ: 4.2}
      cellSize: %1
      threadCount: 3
      extractor: %2
      postprocess: %3
  instances:
    sheet:
      type: gyroid
      params:
        cellSize: 2.0
        thickness: 0.3
    ball:
      type: sphere
      params:
        radius: 4.0
    part:
      type: intersect
      params:
        children: ["@sheet", "@ball"]
  roots:
    - part
)"_L1;

const QByteArray old = "an older file";

struct Limits
{
    qint64 megabytes = 0; ///< of address space; 0: any
    int processes = 0;    ///< of a user of its own; 0: any
};

// Of nobody but this test; the number of processes is limited by user, and root's is not.
constexpr uid_t lonelyUser = 61234;

void restrict(const Limits &limits)
{
    const auto megabytes = rlim_t(limits.megabytes) << 20;
    const rlimit memory{megabytes, megabytes};
    if (limits.megabytes > 0)
        setrlimit(RLIMIT_AS, &memory);
    const rlimit processes{rlim_t(limits.processes), rlim_t(limits.processes)};
    if (limits.processes > 0 && (setrlimit(RLIMIT_NPROC, &processes) != 0 || setuid(lonelyUser)))
        _exit(99);
}

/// None when the program did not end by itself.
std::optional<ProgramRun> runLimited(const QStringList &arguments, const Limits &limits)
{
    QProcess process;
    process.setChildProcessModifier([limits] { restrict(limits); });
    process.start(QStringLiteral(CORVANE_PROGRAM), arguments);
    if (!process.waitForFinished(120'000) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        return std::nullopt;
    }
    ProgramRun run;
    run.status = process.exitCode();
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

/// Whether the file is a mesh to its last triangle, as its head counts them.
bool isWholeStl(const QByteArray &bytes)
{
    quint32 count = 0;
    constexpr qsizetype head = 84;
    if (bytes.size() < head)
        return false;
    memcpy(&count, bytes.constData() + head - 4, sizeof count);
    return count > 0 && bytes.size() == head + qsizetype(count) * 50;
}

} // namespace

Q_DECLARE_METATYPE(Limits)

class TstLimits : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("a sanitizer takes more than the limits");
#endif
    }

    void exportEndsWithinItsLimits_data()
    {
        QTest::addColumn<Limits>("limits");
        QTest::addColumn<QString>("cellSize");
        QTest::addColumn<QString>("extractor");
        QTest::addColumn<QString>("steps");
        const auto rows = [](const char *name, const QString &cellSize, const QString &extractor,
                             const QString &steps) {
            for (const int megabytes : {150, 250})
                QTest::addRow("%s, %d MB", name, megabytes)
                    << Limits{.megabytes = megabytes} << cellSize << extractor << steps;
            for (const int processes : {1, 3})
                QTest::addRow("%s, %d processes", name, processes)
                    << Limits{.processes = processes} << u"0.2"_s << extractor << steps;
        };
        rows("marching cubes", u"0.05"_s, u"MC"_s, u"[]"_s);
        rows("octree, welded", u"0.15"_s, u"DC-octree"_s, u"[weld, \"qemDecimate(0.5)\"]"_s);
    }

    void exportEndsWithinItsLimits()
    {
        QFETCH(Limits, limits);
        QFETCH(QString, cellSize);
        QFETCH(QString, extractor);
        QFETCH(QString, steps);
        if (limits.processes > 0 && geteuid() != 0)
            QSKIP("only root can become a user with no processes");
        const QTemporaryDir folder;
        const QString input = writeFile(folder, u"part.corvane"_s,
                                        QString(scene).arg(cellSize, extractor, steps).toUtf8());
        const QString output = writeFile(folder, u"part.stl"_s, old);
        // The user that has no processes writes here too.
        QVERIFY(chmod(qPrintable(folder.path()), 0777) == 0 &&
                chmod(qPrintable(output), 0666) == 0);
        const auto run = runLimited({u"export"_s, input, u"-o"_s, output}, limits);
        QVERIFY2(run, "the program did not end by itself");
        const bool isDone = run->status == 0;
        QVERIFY2(isDone || run->status == 3, qPrintable(run->standardError));
        // It says what failed: nothing ends without a word.
        static const QRegularExpression sentence(u"\"error\":\"[A-Z]|Error: [a-z]|: line 1"_s);
        QVERIFY2(isDone != run->standardError.contains(sentence), qPrintable(run->standardError));
        const QByteArray content = contentOf(output);
        QVERIFY2(isDone ? isWholeStl(content) : content == old, qPrintable(run->standardError));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }

    void planWithoutAThreadIsRejected()
    {
        if (geteuid() != 0)
            QSKIP("only root can become a user with no processes");
        const QTemporaryDir folder;
        const QString plan = writeFile(
            folder, u"plan.json"_s,
            R"({"description": "p", "steps": [{"task": "corvane.scene.errors", "args": {}}]})");
        QVERIFY(chmod(qPrintable(folder.path()), 0777) == 0);
        const auto run = runLimited({u"zirn"_s, plan}, {.processes = 1});
        QVERIFY2(run, "the program did not end by itself");
        QCOMPARE(run->status, 3);
        QVERIFY2(run->standardError.contains(u"the system starts no further thread. State: no "
                                             "changes."_s),
                 qPrintable(run->standardError));
    }
};

QTEST_GUILESS_MAIN(TstLimits)
#include "tst_Limits.moc"
