#include <corvane/xport/CornerStore.h>

#include <mesh/HugePages.h>

#include <algorithm>
#include <cstdlib>

namespace corvane::xport {

namespace {

constexpr std::size_t pageSize = std::size_t(2) << 20; // of the large pages
// A small surface takes little, a large one blocks of whole pages.
constexpr std::size_t firstBlock = pageSize / 16;
constexpr std::size_t largestBlock = 2 * pageSize;

} // namespace

void CornerStore::Release::operator()(Corners *block) const
{
    std::free(block);
}

std::span<CornerStore::Corners> CornerStore::take(std::size_t count)
{
    if (count > m_free.size()) {
        const std::size_t grown = firstBlock << std::min<std::size_t>(m_blocks.size(), 16);
        const std::size_t unit = std::min(grown, pageSize);
        const std::size_t bytes = std::max(std::min(grown, largestBlock), count * sizeof(Corners));
        const std::size_t whole = (bytes + unit - 1) / unit * unit;
        void *const memory = std::aligned_alloc(unit, whole);
        Q_CHECK_PTR(memory);
        ::mesh::adviseHugePages(memory, whole);
        m_blocks.emplace_back(static_cast<Corners *>(memory));
        m_free = {m_blocks.back().get(), whole / sizeof(Corners)};
    }
    const std::span<Corners> taken = m_free.first(count);
    m_free = m_free.subspan(count);
    return taken;
}

} // namespace corvane::xport
