#pragma once

#include <corvane/xport/ChunkJob.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/GridSurface.h>

#include <QString>

#include <atomic>

namespace corvane::xport {

/// Samples chunks and extracts their surface, on one kind of back-end.
class IChunkProcessor
{
public:
    virtual ~IChunkProcessor() = default;

    /// Before the first chunk, on one thread. False, and a warning in the log, when the request's
    /// field cannot be made.
    virtual bool initialize(const ExportRequest &request) = 0;
    /// Appends the surface of one chunk. False with a text when the field cannot be sampled; false
    /// without one when `cancelFlag` turned true.
    virtual bool processChunk(const ChunkJob &job, const std::atomic_bool &cancelFlag,
                              ChunkSurface &outTriangles, QString &outError) = 0;
    /// After the last chunk, on every path on which initialize() was called.
    virtual void release() = 0;
    virtual QString name() const = 0;
    /// What a user is told when a chunk fails, with %1 for the text of processChunk().
    virtual QString failureText() const { return QStringLiteral("Evaluation error: %1"); }
};

} // namespace corvane::xport
