#pragma once

#include <corvane/xport/ExportRequest.h>

#include <QFuture>
#include <QObject>

#include <atomic>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

/// The one road from a compiled scene to a mesh file.
///
/// Lives on one thread; run() returns at once and the work goes on on a thread of the global pool.
/// All signals of a run are emitted on that thread, so connect them with a context object: they
/// then arrive queued on the object's thread. finished() comes exactly once for each accepted
/// run(), and by then a new run() is accepted. Destroying the pipeline cancels what is running and
/// waits for it.
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
    ExportResult execute(ExportRequest request, const eval::DefinitionTable &definitions);
    ExportResult exportField(const ExportRequest &request,
                             const eval::DefinitionTable &definitions);
    ExportResult exportChunks(const ExportRequest &request,
                              const eval::DefinitionTable &definitions);
    ExportResult exportOctree(const ExportRequest &request,
                              const eval::DefinitionTable &definitions);
    ExportResult exportVolume(const ExportRequest &request,
                              const eval::DefinitionTable &definitions);
    ExportResult exportDirect(const ExportRequest &request);
    void reportProgress(qint64 done, qint64 total);

    std::atomic_bool m_active = false;
    std::atomic_bool m_cancelled = false;
    QFuture<void> m_worker;
};

} // namespace corvane::xport
