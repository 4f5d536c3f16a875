#include <corvane/zirn/ZirnTask.h>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

struct Tier
{
    QLatin1StringView name;
    std::array<QLatin1StringView, 2> capabilities; ///< the second may be empty
};

constexpr Tier tiers[] = {
    {"bootstrap"_L1, {"open"_L1}},
    {"cad-editing"_L1, {"cad-editing"_L1}},
    {"identified"_L1, {"sid-active"_L1}},
    {"operational"_L1, {"sid-active"_L1, "node-active"_L1}},
    {"connected"_L1, {"sid-active"_L1, "node-paired"_L1}},
    {"secured"_L1, {"fsid-active"_L1}},
    {"owner"_L1, {"owner-active"_L1}},
};

} // namespace

ZirnTask::ZirnTask(QString taskName, QString taskDescription, QStringList taskTags,
                   QStringList taskScopes, QStringList taskOutputs)
    : name(std::move(taskName))
    , description(std::move(taskDescription))
    , tags(std::move(taskTags))
    , outputs(std::move(taskOutputs))
    , scopes(std::move(taskScopes))
{}

ZirnTask::~ZirnTask() = default;

QStringList ZirnTask::resourceScopes() const
{
    return {};
}

void ZirnTask::setTier(const QString &tier)
{
    const auto *known = std::find_if(std::begin(tiers), std::end(tiers),
                                     [&tier](const Tier &entry) { return entry.name == tier; });
    if (known == std::end(tiers))
        return;
    requiredCaps.clear();
    for (const QLatin1StringView capability : known->capabilities) {
        if (!capability.isEmpty())
            requiredCaps.insert(capability);
    }
}

TaskDanger dangerOf(const ZirnTask *task)
{
    if (!task)
        return TaskDanger::Safe;
    if (task->confirmationPolicy == ConfirmationPolicy::EveryCall)
        return TaskDanger::Critical;
    return task->idempotent && task->readOnly ? TaskDanger::Safe : TaskDanger::Unsafe;
}

QLatin1StringView dangerWord(TaskDanger danger)
{
    switch (danger) {
    case TaskDanger::Safe:
        return "safe"_L1;
    case TaskDanger::Unsafe:
        return "unsafe"_L1;
    case TaskDanger::Critical:
        return "critical"_L1;
    }
    return "unsafe"_L1;
}

} // namespace corvane::zirn
