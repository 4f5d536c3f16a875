#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

namespace mesh::io {

/// Told how far the work is (elements done, elements in all; a total of 0 is not known yet); false
/// cancels. Called on the thread that asked for the reading or writing.
using Progress = std::function<bool(qint64 current, qint64 total)>;

struct ImportOptions
{
    double mergeTolerance = 1e-6; ///< vertices of a facet-based format (STL) this near are welded
    bool recalculateNormals = false;  ///< compute vertex normals after reading
    bool mergeVertices = true;        ///< weld the vertices of a facet-based format (STL)
    qint64 maxTriangles = 50'000'000; ///< more elements than this are refused
    Progress progress{};
    int progressInterval = 10'000; ///< elements between calls of `progress`
};

struct ExportOptions
{
    bool binary = true; ///< for formats that have both forms (STL, PLY)
    int precision = 6;  ///< digits of numbers in text formats
    QString name{}; ///< header or object name; see each exporter for its rank beside the mesh's own
    Progress progress{};
    int progressInterval = 10'000; ///< elements between calls of `progress`
    QVariantMap extras{};          ///< "precision" (int) and "binary" (bool) win over the fields
    int threads = 1;               ///< that may format; the bytes are the same for any number

    bool effectiveBinary() const;
    int effectivePrecision() const; ///< within 0..30
};

} // namespace mesh::io
