#include "ASEvent.h"

using namespace Qt::StringLiterals;

namespace store {

QLatin1StringView transactionName(ASTransaction transaction)
{
    static constexpr QLatin1StringView names[] = {
        "status"_L1,   "clear"_L1,           "get"_L1,    "set"_L1,        "load"_L1, "save"_L1,
        "generate"_L1, "synchronization"_L1, "exists"_L1, "completion"_L1,
    };
    static_assert(std::size(names) == int(ASTransaction::Completion));
    return names[int(transaction) - int(ASTransaction::Status)];
}

} // namespace store
