#pragma once

#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

/// The task that a row describes, with all that it says of itself: of a class of its own, around
/// one of the row's functions, or else an edit that is one op.
ZirnTaskPtr makeTask(const TaskRow &row);

} // namespace corvane::zirn
