#include "PendingFiles.h"

#include <atomic>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace store {

namespace {

enum SlotState { Free, Claimed, Ready };

// Fixed storage, no constructor and no lock: the handler may come at any instruction, before main
// too.
struct Slot
{
    std::atomic<int> state;
    char path[PATH_MAX];
};

constexpr int slotCount = 256;
constinit Slot pendingTable[slotCount] = {};

static_assert(std::atomic<int>::is_always_lock_free);

} // namespace

int PendingFiles::add(const char *path) noexcept
{
    const std::size_t length = std::strlen(path);
    if (length >= PATH_MAX)
        return noSlot;
    for (int i = 0; i < slotCount; ++i) {
        int expected = Free;
        if (!pendingTable[i].state.compare_exchange_strong(expected, Claimed))
            continue;
        std::memcpy(pendingTable[i].path, path, length + 1);
        pendingTable[i].state.store(Ready, std::memory_order_release);
        return i;
    }
    return noSlot;
}

void PendingFiles::remove(int slot) noexcept
{
    if (slot != noSlot)
        pendingTable[slot].state.store(Free, std::memory_order_release);
}

void PendingFiles::unlinkAll() noexcept
{
    for (const Slot &slot : pendingTable)
        if (slot.state.load(std::memory_order_acquire) == Ready)
            ::unlink(slot.path);
}

} // namespace store
