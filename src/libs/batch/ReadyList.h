#pragma once

#include <batch/BatchJob.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace batch {

/// A type of job as the queue knows it: each name once, numbered from 0, kept as long as the queue.
struct JobType
{
    QString name{};
    std::size_t number = 0;
};

/// A job that could be claimed.
struct ReadyJob
{
    qint32 priority = 0;
    qint64 createdAt = 0; ///< milliseconds since the epoch
    quint64 id = 0;
    const JobType *type = nullptr;
    std::shared_ptr<const BatchJob> job{};

    /// Higher priority first, then the earlier; ids only keep equal ones apart, and in their order.
    bool comesBefore(const ReadyJob &other) const;
};

/// The ready jobs as they were at one moment. Read without a lock; lives no longer than the queue.
class ReadySnapshot
{
public:
    template<typename Visit>
    void forEach(Visit visit) const
    {
        for (const auto &chunk : m_chunks)
            for (const ReadyJob &ready : *chunk)
                visit(ready);
    }
    qsizetype size() const { return m_size; }

private:
    friend class ReadyList;
    std::vector<std::shared_ptr<const std::vector<ReadyJob>>> m_chunks;
    qsizetype m_size = 0;
};

/// The ready jobs in their order, in chunks that snapshots share: a snapshot of a hundred thousand
/// jobs copies about a thousand pointers and touches no job. A chunk that a snapshot has seen is
/// never changed, but replaced by a changed copy. Not locked; part of the table that the queue
/// guards.
class ReadyList
{
public:
    void put(const ReadyJob &ready);    ///< inserts, or replaces the one with this place
    void remove(const ReadyJob &place); ///< `job` and `type` need not be set
    void clear();
    ReadySnapshot snapshot();

private:
    using Chunk = std::vector<ReadyJob>;
    struct Part
    {
        std::shared_ptr<Chunk> chunk;
        quint64 madeAt = 0; ///< how many snapshots there had been: later ones have seen it
    };
    static constexpr std::size_t mostInChunk = 128;

    std::vector<Part>::iterator partFor(const ReadyJob &place);
    Chunk &changeable(Part &part);
    void split(std::vector<Part>::iterator part);

    std::vector<Part> m_parts; ///< none is empty
    quint64 m_snapshotCount = 0;
    qsizetype m_size = 0;
};

} // namespace batch
