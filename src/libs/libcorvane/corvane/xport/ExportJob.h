#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/xport/ExportRequest.h>

#include <QVariantMap>

namespace corvane::xport {

/// What a queued export keeps beside its job record: the scene as it was when it was queued.
struct MeshExportContext
{
    QList<shader::SDFNode> nodes{};
    eval::DefinitionTable definitions{}; ///< of the nodes
    QString shaderSource{};              ///< field-sampling GLSL, carried along
    shader::ValidationResult shaderResult{};
};

/// The export that a job asks for.
///
/// Keys of the payload: those of ExportFields, `rootNodeIndex`, `outputPath`, `backend` ("gpu",
/// "native", else cpu), `algorithm` ("volume", "direct", else surface), `directSourcePath`. What is
/// missing, or of another type, is as in a new ExportRequest.
ExportRequest exportRequestFromPayload(const QVariantMap &payload,
                                       const MeshExportContext &context);

/// A result as the map of a job, and back. Keys: `success`, `errorMessage`, `triangleCount`,
/// `tetrahedronCount`, `vertexCount`, `elapsedSeconds`.
QVariantMap exportResultToBatchResult(const ExportResult &result);
ExportResult exportResultFromBatchResult(const QVariantMap &map);

} // namespace corvane::xport
