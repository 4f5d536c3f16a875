#pragma once

#include <mesh/io/BlockWriter.h>
#include <mesh/io/Options.h>

#include <functional>

namespace mesh::io {

/// Writes the long lists of a file: blocks of items are formatted by as many threads as the options
/// allow, and written in their order by the calling thread, which also tells the progress.
class ItemWriter
{
public:
    /// Appends the items from `begin` up to `end` and answers how many of them the format can hold.
    /// Called on several threads at once, each time with a writer that stays in memory.
    using Format = std::function<qsizetype(BlockWriter &to, qsizetype begin, qsizetype end)>;

    /// @param total  of the progress: the items of all lists of the file
    ItemWriter(BlockWriter &writer, const ExportOptions &options, qint64 total);

    /// False when the list is not written to its end: cancelled, or the device has failed.
    bool write(qsizetype count, const Format &format);

    /// How many items of all lists are written; after a cancel, the item that it was told at.
    qint64 done() const { return m_done; }

private:
    class Blocks;
    bool deliver(const BlockWriter &bytes, qsizetype items);

    BlockWriter &m_writer;
    const ExportOptions &m_options;
    const qint64 m_total;
    qint64 m_done = 0;
};

} // namespace mesh::io
