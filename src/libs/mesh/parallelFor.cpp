#include "parallelFor.h"

#include <QThreadPool>

#include <algorithm>
#include <atomic>

using namespace Qt::StringLiterals;

namespace mesh {

void parallelFor(qsizetype count, int threads, const std::function<void(qsizetype)> &body)
{
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < count; i = next++)
            body(i);
    };
    const int helpers = int(std::min<qsizetype>(threads, count)) - 1;
    if (helpers < 1)
        return work();
    QThreadPool pool;
    pool.setObjectName(u"Ondrel.mesh"_s);
    pool.setMaxThreadCount(helpers);
    for (int i = 0; i < helpers; ++i)
        pool.start(work);
    work();
    pool.waitForDone();
}

} // namespace mesh
