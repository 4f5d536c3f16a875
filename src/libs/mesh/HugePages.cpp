#include "HugePages.h"

#include <cstdint>

#include <sys/mman.h>

namespace mesh {

void adviseHugePages(void *start, std::size_t bytes)
{
    constexpr std::uintptr_t pageSize = std::uintptr_t(2) << 20;
    const auto begin = (reinterpret_cast<std::uintptr_t>(start) + pageSize - 1) & ~(pageSize - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(start) + bytes) & ~(pageSize - 1);
    if (begin < end)
        ::madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
}

} // namespace mesh
