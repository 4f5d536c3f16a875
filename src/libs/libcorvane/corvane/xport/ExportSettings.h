#pragma once

#include <corvane/model/SceneWarning.h>
#include <corvane/xport/ExportRequest.h>

#include <QList>

namespace corvane::expr {
class ExpressionManager;
}
namespace corvane::model {
class Corvane;
}

namespace corvane::xport {

/// What a scene's settings under "export." ask for. The one place that reads them.
///
/// Each of `bounds.minX` to `bounds.maxZ` and `cellSize` is a number or an expression over the
/// variables, "=width/2 + 1", so that a part whose size follows a variable carries its box along.
/// What is missing, or no number, leaves the default of ExportRequest.
struct ExportSettings
{
    /// Box, cell size, threads, chunks, extractor, back-end, sealed, autoBounds and postprocess;
    /// everything else is as in a new request.
    ExportRequest request;
    bool hasBox = false; ///< all six sides are set
    /// Expressions that gave no number, each with what is used instead.
    QList<model::SceneWarning> warnings;

    /// @param expressions  of the scene, evaluated. Main thread.
    static ExportSettings of(const model::Corvane &scene,
                             const expr::ExpressionManager &expressions);
};

} // namespace corvane::xport
