#pragma once

#include <corvane/bv/FieldIntervals.h>
#include <corvane/bv/SurfaceCut.h>
#include <corvane/model/SceneWarning.h>
#include <corvane/xport/ExportRequest.h>

#include <array>
#include <atomic>
#include <memory>
#include <optional>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

/// Whether the box of a request cuts its surface off: what a person is told. Nothing when the box
/// is clear of the surface, or when the field can't be built.
///
/// Nothing either for a request that is `sealed` and has a box of its own: whoever wants the
/// surface closed at the box means it to end there. With `autoBounds` the box is not the user's,
/// and a cut is one that nobody asked for.
///
/// Costs less than three hundredths of the meshing of the same request. One thread at a time.
class BoxCheck
{
public:
    /// Looks for cuts, before any meshing.
    /// @param request  must outlive this, as must the flag
    BoxCheck(const ExportRequest &request, const eval::DefinitionTable &definitions,
             const std::atomic_bool *cancelFlag = nullptr);

    /// Points of the solid that the grid has on the sides of the box: of fields that are hard to
    /// tell some cuts show there alone.
    void add(const std::array<std::optional<QVector3D>, bv::faceCount> &points);

    bool isCut() const { return m_cut.isAny(); }
    std::optional<model::SceneWarning> warning() const;

private:
    const ExportRequest &m_request;
    std::unique_ptr<bv::FieldIntervals> m_field; ///< null when nothing is to be told
    bv::SurfaceCut m_cut;
};

} // namespace corvane::xport
