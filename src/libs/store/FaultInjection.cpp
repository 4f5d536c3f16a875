#include "FaultInjection.h"

#include <atomic>

namespace store {

namespace {

constexpr int anyOperation = -1;

// Zero means that nothing is injected: then a save pays one relaxed load for each system call.
std::atomic<int> callsLeft = 0;
std::atomic<int> onlyOperation = anyOperation;
std::atomic<bool> fired = false;

void arm(int operation, int failingCall)
{
    fired = false;
    onlyOperation = operation;
    callsLeft = failingCall;
}

} // namespace

FaultInjection::FaultInjection(int failingCall)
{
    arm(anyOperation, failingCall);
}

FaultInjection::FaultInjection(Operation operation, int failingCall)
{
    arm(int(operation), failingCall);
}

FaultInjection::~FaultInjection()
{
    callsLeft = 0;
}

bool FaultInjection::hasFired() const
{
    return fired;
}

bool FaultInjection::strikes(Operation operation) noexcept
{
    if (callsLeft.load(std::memory_order_relaxed) <= 0)
        return false;
    const int only = onlyOperation;
    const bool isMeant =
        only == anyOperation ? operation != Operation::Nameless : only == int(operation);
    if (!isMeant)
        return false;
    if (callsLeft.fetch_sub(1) != 1)
        return false;
    fired = true;
    return true;
}

} // namespace store
