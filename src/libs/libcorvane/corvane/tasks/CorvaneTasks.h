#pragma once

#include <corvane/tasks/TaskRow.h>

#include <span>

namespace corvane::zirn {

class ZirnTaskRegistry;

/// Everything that the assistant and scripts can do to a scene, in the order in which it is shown.
QList<const TaskRow *> taskCatalogue();

/// Fills a registry with the catalogue, the process-wide one unless said otherwise. Does nothing
/// when "corvane.item.add" is there already. Main thread, before any plan runs.
void registerCorvaneTasks(ZirnTaskRegistry *registry = nullptr);

} // namespace corvane::zirn
