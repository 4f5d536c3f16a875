#include "parallelFor.h"

#include "Crew.h"

#include <algorithm>
#include <atomic>

namespace concurrency {

void parallelFor(qsizetype count, int threads, const std::function<void(qsizetype)> &body)
{
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < count; i = next++)
            body(i);
    };
    const int helpers = int(std::min<qsizetype>(threads, count)) - 1;
    runBeside(helpers, work, work, [&] { next = count; });
}

void runBeside(int helpers, const std::function<void()> &helper, const std::function<void()> &own,
               const std::function<void()> &stop)
{
    Crew crew("Ondrel.mesh", stop);
    crew.start(helpers, helper);
    own();
    crew.finish();
}

} // namespace concurrency
