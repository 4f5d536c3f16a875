#pragma once

#include <corvane/xport/ExportRequest.h>

#include <QObject>

#include <atomic>
#include <thread>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

class BoxCheck;
class GridSurface;
struct GridReport;

/// The one road from a compiled scene to a mesh file.
///
/// Lives on one thread; run() returns at once and the work goes on on a thread of its own.
/// All signals of a run are emitted on that thread, so connect them with a context object: they
/// then arrive queued on the object's thread. finished() comes exactly once for each accepted
/// run(), and by then a new run() is accepted; where the system starts no further thread, it comes
/// before run() returns, with that error. Destroying the pipeline cancels what is running and
/// waits for it.
///
/// An export that runs out of memory is one that fails.
class ExportPipeline : public QObject
{
    Q_OBJECT

public:
    explicit ExportPipeline(QObject *parent = nullptr);
    ~ExportPipeline() override;

    /// Starts an export. While one is active it is refused with errorOccurred("Export already in
    /// progress"). Looks the definitions of the nodes up in the registry: main thread only.
    void run(const ExportRequest &request);
    /// The same with the definitions that the nodes were made with, on any thread: what a registry
    /// that has changed since then says of them does not matter.
    void run(const ExportRequest &request, const eval::DefinitionTable &definitions);
    /// Does an export on the calling thread, and answers how it ended; of its signals finished()
    /// does not come. For who has nothing else to do meanwhile: an export so needs no thread but
    /// this one.
    ExportResult runHere(const ExportRequest &request);
    ExportResult runHere(const ExportRequest &request, const eval::DefinitionTable &definitions);
    /// What an export of the request would warn of before it meshes: the box that is found, what
    /// the box cuts off, and a grid that it would refuse. Main thread.
    static QList<model::SceneWarning> boxWarnings(ExportRequest request);
    /// Makes the running export end with the error "Export cancelled" within about a second.
    void cancel();
    bool isActive() const { return m_active.load(); }

signals:
    /// `current` of `total` chunks are done; of a volume, slices, and an octree is one chunk. The
    /// first is (0, total), the last (total, total), and the numbers rise; past ten thousand chunks
    /// not every one is reported.
    void progressChanged(qint64 current, qint64 total);
    void finished(const corvane::xport::ExportResult &result);
    /// Only for a run() that was refused.
    void errorOccurred(const QString &message);
    /// Work was moved from one back-end to another on the way, which is no failure.
    void backendFellBack(const QString &from, const QString &to, const QString &reason);

private:
    bool begin();
    ExportResult work(const ExportRequest &request, const eval::DefinitionTable &definitions);
    void finish(const ExportResult &result);
    ExportResult execute(ExportRequest request, const eval::DefinitionTable &definitions);
    ExportResult exportField(const ExportRequest &request, const eval::DefinitionTable &definitions,
                             BoxCheck &box);
    ExportResult exportChunks(const ExportRequest &request,
                              const eval::DefinitionTable &definitions, BoxCheck &box);
    ExportResult exportOctree(const ExportRequest &request,
                              const eval::DefinitionTable &definitions, BoxCheck &box);
    ExportResult exportVolume(const ExportRequest &request,
                              const eval::DefinitionTable &definitions, BoxCheck &box);
    ExportResult makeMesh(GridSurface &&surface, const GridReport &report,
                          const ExportRequest &request, const eval::DefinitionTable &definitions,
                          BoxCheck &box);
    ExportResult exportDirect(const ExportRequest &request);
    void reportProgress(qint64 done, qint64 total);

    std::atomic_bool m_active = false;
    std::atomic_bool m_cancelled = false;
    QLatin1String m_stage; ///< what the work is at; of its thread
    std::thread m_worker;
};

} // namespace corvane::xport
