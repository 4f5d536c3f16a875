// The scenes that exports are timed on, and one export to its end. Needs corvane_field.
#pragma once

#include <corvane/xport/ExportRequest.h>

#include <support/NodeTree.h>

#include <span>

namespace exports {

struct NamedScene
{
    const char *name;
    int (*scene)(support::NodeTree &); ///< adds the nodes and answers the root
};

std::span<const NamedScene> scenes();

/// The box from -5 to 5 with so many nodes an axis; the output path is still missing.
corvane::xport::ExportRequest requestFor(const NamedScene &named, double nodes, int threads);

/// Runs a pipeline in an event loop of the application.
corvane::xport::ExportResult exported(const corvane::xport::ExportRequest &request);

} // namespace exports
