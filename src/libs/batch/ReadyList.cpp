#include "ReadyList.h"

#include <algorithm>
#include <tuple>

namespace batch {

bool ReadyJob::comesBefore(const ReadyJob &other) const
{
    return std::tuple(other.priority, createdAt, id) <
           std::tuple(priority, other.createdAt, other.id);
}

namespace {

bool before(const ReadyJob &a, const ReadyJob &b)
{
    return a.comesBefore(b);
}

} // namespace

// The first part that does not end before this place; the last one for a place behind everything.
std::vector<ReadyList::Part>::iterator ReadyList::partFor(const ReadyJob &place)
{
    const auto part = std::lower_bound(m_parts.begin(), m_parts.end(), place,
                                       [](const Part &candidate, const ReadyJob &wanted) {
                                           return before(candidate.chunk->back(), wanted);
                                       });
    return part == m_parts.end() && !m_parts.empty() ? part - 1 : part;
}

ReadyList::Chunk &ReadyList::changeable(Part &part)
{
    if (part.madeAt != m_snapshotCount) {
        part.chunk = std::make_shared<Chunk>(*part.chunk);
        part.madeAt = m_snapshotCount;
    }
    return *part.chunk;
}

void ReadyList::put(const ReadyJob &ready)
{
    if (m_parts.empty()) {
        m_parts.push_back({std::make_shared<Chunk>(1, ready), m_snapshotCount});
        m_size = 1;
        return;
    }
    const auto part = partFor(ready);
    Chunk &chunk = changeable(*part);
    const auto place = std::lower_bound(chunk.begin(), chunk.end(), ready, before);
    if (place != chunk.end() && place->id == ready.id) {
        *place = ready;
        return;
    }
    chunk.insert(place, ready);
    ++m_size;
    if (chunk.size() > mostInChunk)
        split(part);
}

void ReadyList::split(std::vector<Part>::iterator part)
{
    Chunk &first = *part->chunk;
    const auto middle = first.begin() + qsizetype(first.size() / 2);
    auto second = std::make_shared<Chunk>(std::make_move_iterator(middle),
                                          std::make_move_iterator(first.end()));
    first.erase(middle, first.end());
    m_parts.insert(part + 1, {std::move(second), m_snapshotCount});
}

void ReadyList::remove(const ReadyJob &ready)
{
    const auto part = partFor(ready);
    if (part == m_parts.end())
        return;
    const auto found = std::lower_bound(part->chunk->begin(), part->chunk->end(), ready, before);
    if (found == part->chunk->end() || found->id != ready.id)
        return;
    const auto index = found - part->chunk->begin();
    Chunk &chunk = changeable(*part);
    chunk.erase(chunk.begin() + index);
    --m_size;
    if (chunk.empty())
        m_parts.erase(part);
}

void ReadyList::clear()
{
    m_parts.clear();
    m_size = 0;
}

ReadySnapshot ReadyList::snapshot()
{
    ++m_snapshotCount;
    ReadySnapshot snapshot;
    snapshot.m_size = m_size;
    snapshot.m_chunks.reserve(m_parts.size());
    for (const Part &part : m_parts)
        snapshot.m_chunks.push_back(part.chunk);
    return snapshot;
}

} // namespace batch
