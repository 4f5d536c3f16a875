#include "BatchStatus.h"

#include <QLatin1StringView>

using namespace Qt::StringLiterals;

namespace batch {

QString batchStatusToString(BatchStatus status)
{
    static constexpr QLatin1StringView words[] = {
        "pending"_L1, "in_progress"_L1, "hung"_L1,      "done"_L1,
        "failed"_L1,  "stopped"_L1,     "cancelled"_L1,
    };
    static_assert(std::size(words) == batchStatusCount);
    const bool known = int(status) >= 0 && int(status) < batchStatusCount;
    return known ? words[int(status)] : "unknown"_L1;
}

} // namespace batch
