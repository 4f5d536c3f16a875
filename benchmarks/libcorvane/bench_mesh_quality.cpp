// The quality of exported meshes: every shipped sample under three definitions, by the same job as
// in the program. Leaves the results database, the meshes and a page with plots.
//
//     bench_mesh_quality [folder for results] [folder of definitions] [folder of scenes]

#include <corvane/bench/MeshBenchWorker.h>

#include <batch/BatchDispatcher.h>
#include <batch/BatchQueue.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void print(const QString &text)
{
    std::fprintf(stdout, "%s\n", qUtf8Printable(text));
    std::fflush(stdout);
}

int report(const batch::BatchJob &job, qint64 milliseconds)
{
    if (job.status != batch::BatchStatus::Done) {
        print(u"failed: %1"_s.arg(job.error));
        return 1;
    }
    print(u"%1 cells in %2 s, report %3"_s.arg(job.result.value(u"cells"_s).toString(),
                                               QString::number(double(milliseconds) / 1000),
                                               job.result.value(u"reportPath"_s).toString()));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const QDir results(arguments.value(1, u"mesh-quality"_s));
    corvane::bench::MeshBenchWorker worker;
    batch::BatchQueue queue;
    batch::BatchWorkerRegistry registry;
    registry.registerWorker(&worker);
    batch::BatchDispatcher dispatcher(&queue, &registry);
    QObject::connect(&queue, &batch::BatchQueue::jobLogAppended, &application,
                     [](quint64, const batch::BatchJobLog &line) { print(line.message); });
    QObject::connect(&queue, &batch::BatchQueue::jobProgressChanged, &application,
                     [](quint64, qint32 done, qint32 total) {
                         print(u"%1/%2"_s.arg(QString::number(done), QString::number(total)));
                     });
    batch::BatchJob job;
    job.type = u"corvane/mesh-bench"_s;
    job.payload = {
        {u"scenesDir"_s, arguments.value(3, QStringLiteral(CORVANE_SAMPLES))},
        {u"definitionsDir"_s, arguments.value(2, QStringLiteral(CORVANE_BENCH_DEFINITIONS))},
        {u"dbPath"_s, results.filePath(u"results.db"_s)},
        {u"artifactsDir"_s, results.filePath(u"meshes"_s)},
        {u"testSetName"_s, u"samples"_s}};
    QElapsedTimer timer;
    timer.start();
    const quint64 id = queue.submit(job);
    QObject::connect(
        &queue, &batch::BatchQueue::jobStatusChanged, &application,
        [&](quint64, batch::BatchStatus, batch::BatchStatus status) {
            if (batch::isTerminal(status))
                application.exit(report(*queue.job(id), timer.elapsed()));
        },
        Qt::QueuedConnection);
    return application.exec();
}
