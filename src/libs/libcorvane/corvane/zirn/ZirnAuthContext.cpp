#include <corvane/zirn/ZirnAuthContext.h>

#include <corvane/zirn/ZirnTask.h>

#include <QLatin1StringView>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

struct Capability
{
    QLatin1StringView word;
    bool (*isHeld)(const ZirnAuthContext &caller);
    QLatin1StringView failure; ///< %1 is the name of the task
};

using Caller = const ZirnAuthContext &;

// In the order of the tests: where several are missing, the first tells what to do first.
constexpr Capability capabilities[] = {
    {"open"_L1, [](Caller) { return true; }, {}},
    {"cad-editing"_L1, [](Caller c) { return c.isSidActive() || c.isFileScoped(); },
     "Failed to %1: CAD editing requires an active identity or a file-scoped session. State: no "
     "changes. Suggestion: log in, or run against an explicit local file."_L1},
    {"file-scoped"_L1, [](Caller c) { return c.isFileScoped(); },
     "Failed to %1: requires a file-scoped session. State: no changes. Suggestion: run against an "
     "explicit local file."_L1},
    {"sid-active"_L1, [](Caller c) { return c.isSidActive(); },
     "Failed to %1: no SID active. State: no changes. Suggestion: log in or create a steward "
     "identity."_L1},
    {"fsid-active"_L1, [](Caller c) { return c.isFsidActive(); },
     "Failed to %1: requires password-protected identity. State: no changes. Suggestion: set a "
     "password via steward.set-password."_L1},
    {"owner-active"_L1, [](Caller c) { return c.isOwnerActive(); },
     "Failed to %1: requires device owner. State: no changes. Suggestion: log in as the device "
     "owner."_L1},
    {"node-active"_L1, [](Caller c) { return c.isNodeActive(); },
     "Failed to %1: no NID active. State: no changes. Suggestion: create a node identity via "
     "node.create."_L1},
    {"node-paired"_L1, [](Caller c) { return c.isNodePaired(); },
     "Failed to %1: no trusted peers. State: no changes. Suggestion: pair with a peer via "
     "pairing.start-discovery."_L1},
    {"local-only"_L1, [](Caller c) { return c.isLocalInvocation(); },
     "This task requires physical presence and cannot be invoked remotely."_L1},
};

} // namespace

bool ZirnAuthContext::isFileScoped() const
{
    return false;
}

bool ZirnAuthContext::hasGroupCap(const QString &) const
{
    return false;
}

bool ZirnAuthContext::canReadChunk(qint64) const
{
    return false;
}

bool ZirnAuthContext::canShareChunk(qint64) const
{
    return false;
}

bool FileScopedAuthContext::isSidActive() const
{
    return false;
}

bool FileScopedAuthContext::isFsidActive() const
{
    return false;
}

bool FileScopedAuthContext::isOwnerActive() const
{
    return false;
}

bool FileScopedAuthContext::isNodeActive() const
{
    return false;
}

bool FileScopedAuthContext::isNodePaired() const
{
    return false;
}

bool FileScopedAuthContext::isLocalInvocation() const
{
    return true;
}

bool FileScopedAuthContext::isFileScoped() const
{
    return true;
}

std::optional<QString> missingCapability(const ZirnTask &task, const ZirnAuthContext &caller)
{
    for (const Capability &capability : capabilities) {
        if (task.requiredCaps.contains(capability.word) && !capability.isHeld(caller))
            return QString(capability.failure).replace("%1"_L1, task.name);
    }
    return std::nullopt;
}

} // namespace corvane::zirn
