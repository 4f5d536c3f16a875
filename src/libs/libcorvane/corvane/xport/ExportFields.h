#pragma once

#include <corvane/xport/ExportRequest.h>

#include <QVariant>

namespace corvane::xport {

/// The part of a request that is named alike wherever it is stored: under "export." among the
/// settings of a scene, and in the payload of a job.
///
/// Keys: `bounds.minX` to `bounds.maxZ`, `cellSize`, `threadCount`, `chunkSize`, `extractor` (see
/// surfaceExtractorNamed()), `sealed`, `autoBounds`, `postprocess` (a list of texts, or one). What
/// is missing, or of another type, stays as the request has it.
class ExportFields
{
public:
    virtual ~ExportFields();

    /// False when one of the six sides of the box is not said.
    bool readInto(ExportRequest &request);

protected:
    virtual QVariant value(const QString &key) const = 0;
    /// False, and `number` left alone, without one.
    virtual bool readNumber(const QString &key, float &number) = 0;
    virtual void readCount(const QString &key, int &count) const = 0;

private:
    bool readCorner(const QString &end, QVector3D &corner);
};

} // namespace corvane::xport
