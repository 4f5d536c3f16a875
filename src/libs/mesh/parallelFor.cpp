#include "parallelFor.h"

#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <latch>

using namespace Qt::StringLiterals;

namespace mesh {

void parallelFor(qsizetype count, int threads, const std::function<void(qsizetype)> &body)
{
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < count; i = next++)
            body(i);
    };
    runBeside(int(std::min<qsizetype>(threads, count)) - 1, work, work);
}

void runBeside(int helpers, const std::function<void()> &helper, const std::function<void()> &own)
{
    if (helpers < 1)
        return own();
    // Not left to the pool, whose own end of the threads no sanitizer sees.
    std::latch finished(helpers);
    QThreadPool pool;
    pool.setObjectName(u"Ondrel.mesh"_s);
    pool.setMaxThreadCount(helpers);
    for (int i = 0; i < helpers; ++i) {
        pool.start([&] {
            helper();
            finished.count_down();
        });
    }
    own();
    finished.wait();
}

} // namespace mesh
