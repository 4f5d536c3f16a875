#pragma once

#include <corvane/model/SceneWarning.h>
#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/shader/SDFNode.h>

#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVector3D>

namespace corvane::xport {

enum class ExportBackend { Cpu = 0, Gpu = 1, Native = 2 };
enum class ExportAlgorithm { Surface = 0, Volume = 1, Direct = 2 };
enum class SurfaceExtractor { MarchingCubes = 0, DualContouring = 1, OctreeDualContouring = 2 };

/// "DC" or "DualContouring", "DC-octree" or "DualContouringOctree", as settings and job records
/// have it; any other word is marching cubes.
SurfaceExtractor surfaceExtractorNamed(const QString &word);
/// All words that mean one, those of marching cubes ("MC", "MarchingCubes") among them.
QStringList surfaceExtractorWords();
/// "gpu" or "native"; any other word is the processor.
ExportBackend exportBackendNamed(const QString &word,
                                 Qt::CaseSensitivity sensitivity = Qt::CaseSensitive);

/// Everything that an export needs to know, by value: the compiled scene, the grid, the file.
///
/// The integers `backend`, `algorithm` and `extractor` hold values of the enumerations above, as
/// settings and job records store them; any other number reads as 0.
struct ExportRequest
{
    QList<shader::SDFNode> nodes; ///< compiled scene
    QString outputPath;           ///< the extension picks the format
    int rootNodeIndex = 0;
    QVector3D boundsMin{-5.0f, -5.0f, -5.0f}; ///< export box, scene units
    QVector3D boundsMax{5.0f, 5.0f, 5.0f};
    float cellSize = 0.1f; ///< spacing of grid nodes, scene units
    int chunkSize = 64;    ///< cells along one side of a chunk
    int threadCount = 0;   ///< 0 or less: automatic
    QString shaderSource;  ///< field-sampling GLSL, carried along for back-ends that want it
    shader::ValidationResult shaderResult; ///< its compile
    int backend = 0;
    int algorithm = 0;
    int extractor = 0;
    QString directSourcePath; ///< source file of a direct export
    bool sealed = false;      ///< close the surface at the box
    bool autoBounds = false;  ///< detect bounds first
    QStringList postprocess;  ///< ordered steps, "name" or "name(number)"
};

/// How an export ended. The one channel of failure: `success` false and a sentence.
struct ExportResult
{
    bool success = false;
    QString errorMessage;
    qint64 triangleCount = 0;
    qint64 tetrahedronCount = 0;
    qint64 vertexCount = 0;
    double elapsedSeconds = 0.0;
    /// What the mesh does not show as its author most likely means it; also of a success.
    QList<model::SceneWarning> warnings{};

    static ExportResult failed(const QString &message);

    bool operator==(const ExportResult &) const = default;
};

} // namespace corvane::xport

Q_DECLARE_METATYPE(corvane::xport::ExportResult)
