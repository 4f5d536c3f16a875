#include "ItemWriter.h"

#include <concurrency/parallelFor.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

// The blocks lie in a ring. Helpers take the next block that is not formatted yet, as long as the
// ring has a place for it; the calling thread writes block after block, and formats others while
// the one that it needs is not ready. So a slow device makes the helpers wait, and slow formatting
// makes the writer help.

namespace mesh::io {

namespace {

// So many that a block of them is written as it is, without a copy into another buffer.
constexpr qsizetype itemsPerBlock = 8192;

// More would wait for the device, each with a block in memory.
constexpr int mostThreads = 16;

} // namespace

class ItemWriter::Blocks
{
public:
    Blocks(qsizetype itemCount, const Format &format, int threads)
        : m_itemCount(itemCount)
        , m_count((itemCount + itemsPerBlock - 1) / itemsPerBlock)
        , m_format(format)
        , m_ring(std::size_t(std::min<qsizetype>(m_count, 2 * qsizetype(threads))))
    {}

    qsizetype count() const { return m_count; }

    /// What a helper does.
    void formatAll()
    {
        std::unique_lock lock(m_mutex);
        while (!m_stopped && m_nextToFormat < m_count)
            formatNextOrWait(lock);
    }

    /// The next block to write; null once they are stopped.
    const BlockWriter *next(qsizetype &items)
    {
        std::unique_lock lock(m_mutex);
        Place &place = placeOf(m_nextToWrite);
        while (!place.isReady && !m_stopped)
            formatNextOrWait(lock);
        items = place.items;
        return m_stopped ? nullptr : &place.bytes;
    }

    /// The block of next() is written.
    void advance()
    {
        const std::lock_guard lock(m_mutex);
        placeOf(m_nextToWrite++).isReady = false;
        m_changed.notify_all();
    }

    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

private:
    struct Place
    {
        BlockWriter bytes;
        qsizetype items = 0;
        bool isReady = false;
    };

    Place &placeOf(qsizetype block) { return m_ring[std::size_t(block) % m_ring.size()]; }

    bool hasRoom() const
    {
        return m_nextToFormat < m_count &&
               m_nextToFormat < m_nextToWrite + qsizetype(m_ring.size());
    }

    void formatNextOrWait(std::unique_lock<std::mutex> &lock)
    {
        if (!hasRoom()) {
            m_changed.wait(lock);
            return;
        }
        const qsizetype block = m_nextToFormat++;
        Place &place = placeOf(block);
        lock.unlock();
        const qsizetype begin = block * itemsPerBlock;
        place.bytes.clear();
        place.items = m_format(place.bytes, begin, std::min(begin + itemsPerBlock, m_itemCount));
        lock.lock();
        place.isReady = true;
        m_changed.notify_all();
    }

    const qsizetype m_itemCount;
    const qsizetype m_count;
    const Format &m_format;
    std::mutex m_mutex; ///< of all below but the bytes of a block that somebody works on
    std::condition_variable m_changed;
    std::vector<Place> m_ring;
    qsizetype m_nextToFormat = 0;
    qsizetype m_nextToWrite = 0;
    bool m_stopped = false;
};

ItemWriter::ItemWriter(BlockWriter &writer, const ExportOptions &options, qint64 total)
    : m_writer(writer)
    , m_options(options)
    , m_total(total)
{}

bool ItemWriter::write(qsizetype count, const Format &format)
{
    const int threads = std::clamp(m_options.threads, 1, mostThreads);
    Blocks blocks(count, format, threads);
    bool goesOn = true;
    const auto writeAll = [&] {
        for (qsizetype block = 0; block < blocks.count() && goesOn; ++block) {
            qsizetype items = 0;
            const BlockWriter *const bytes = blocks.next(items);
            goesOn = bytes && deliver(*bytes, items);
            blocks.advance();
        }
        blocks.stop();
    };
    const int helpers = int(std::min<qsizetype>(threads, blocks.count())) - 1;
    concurrency::runBeside(
        helpers, [&blocks] { blocks.formatAll(); }, writeAll, [&blocks] { blocks.stop(); });
    return goesOn;
}

bool ItemWriter::deliver(const BlockWriter &bytes, qsizetype items)
{
    const qint64 end = m_done + items;
    if (m_options.progress) {
        const qint64 interval = std::max(m_options.progressInterval, 1);
        m_done = (m_done + interval - 1) / interval * interval;
        for (; m_done < end; m_done += interval) {
            if (!m_options.progress(m_done, m_total))
                return false;
        }
    }
    m_done = end;
    m_writer.append(bytes.bytes());
    return !m_writer.hasFailed();
}

} // namespace mesh::io
