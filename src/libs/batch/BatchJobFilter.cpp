#include "BatchJobFilter.h"

namespace batch {

bool BatchJobFilter::matches(const BatchJob &job) const
{
    return (!id || *id == job.id) && (!type || *type == job.type) && admits(job.status) &&
           (!source || *source == job.source) && (!origin || *origin == job.origin);
}

bool BatchJobFilter::admits(BatchStatus state) const
{
    return (!status || *status == state) && (statuses.isEmpty() || statuses.contains(state));
}

} // namespace batch
