#include <corvane/xport/ExportJob.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

// Reads values of the type that is wanted and leaves alone what they would replace otherwise.
class PayloadReader
{
public:
    explicit PayloadReader(const QVariantMap &payload)
        : m_payload(payload)
    {}

    QString text(const QString &key) const { return m_payload.value(key).toString(); }
    bool flag(const QString &key) const { return m_payload.value(key).toBool(); }

    void read(const QString &key, float &value) const
    {
        bool ok = false;
        const float number = m_payload.value(key).toFloat(&ok);
        if (ok)
            value = number;
    }
    void read(const QString &key, int &value) const
    {
        bool ok = false;
        const int number = m_payload.value(key).toInt(&ok);
        if (ok)
            value = number;
    }
    void read(const QString &end, QVector3D &corner) const
    {
        static constexpr QChar axes[] = {u'X', u'Y', u'Z'};
        for (int axis = 0; axis < 3; ++axis) {
            float coordinate = corner[axis];
            read(u"bounds."_s + end + axes[axis], coordinate);
            corner[axis] = coordinate;
        }
    }

private:
    const QVariantMap &m_payload;
};

int backendNamed(const QString &word)
{
    const auto backend = word == "gpu"_L1      ? ExportBackend::Gpu
                         : word == "native"_L1 ? ExportBackend::Native
                                               : ExportBackend::Cpu;
    return int(backend);
}

int algorithmNamed(const QString &word)
{
    const auto algorithm = word == "volume"_L1   ? ExportAlgorithm::Volume
                           : word == "direct"_L1 ? ExportAlgorithm::Direct
                                                 : ExportAlgorithm::Surface;
    return int(algorithm);
}

// A list of texts; one text alone is a list of one, and an empty one of none.
QStringList steps(const QVariant &value)
{
    const QStringList texts = value.toStringList();
    return texts == QStringList(QString()) ? QStringList() : texts;
}

} // namespace

ExportRequest exportRequestFromPayload(const QVariantMap &payload, const MeshExportContext &context)
{
    const PayloadReader reader(payload);
    ExportRequest request;
    request.nodes = context.nodes;
    request.shaderSource = context.shaderSource;
    request.shaderResult = context.shaderResult;
    request.outputPath = reader.text(u"outputPath"_s);
    reader.read(u"rootNodeIndex"_s, request.rootNodeIndex);
    reader.read(u"cellSize"_s, request.cellSize);
    reader.read(u"chunkSize"_s, request.chunkSize);
    reader.read(u"threadCount"_s, request.threadCount);
    reader.read(u"min"_s, request.boundsMin);
    reader.read(u"max"_s, request.boundsMax);
    request.backend = backendNamed(reader.text(u"backend"_s));
    request.algorithm = algorithmNamed(reader.text(u"algorithm"_s));
    request.extractor = int(surfaceExtractorNamed(reader.text(u"extractor"_s)));
    request.sealed = reader.flag(u"sealed"_s);
    request.autoBounds = reader.flag(u"autoBounds"_s);
    request.postprocess = steps(payload.value(u"postprocess"_s));
    request.directSourcePath = reader.text(u"directSourcePath"_s);
    return request;
}

QVariantMap exportResultToBatchResult(const ExportResult &result)
{
    return {{u"success"_s, result.success},
            {u"errorMessage"_s, result.errorMessage},
            {u"triangleCount"_s, result.triangleCount},
            {u"tetrahedronCount"_s, result.tetrahedronCount},
            {u"vertexCount"_s, result.vertexCount},
            {u"elapsedSeconds"_s, result.elapsedSeconds}};
}

ExportResult exportResultFromBatchResult(const QVariantMap &map)
{
    return {.success = map.value(u"success"_s).toBool(),
            .errorMessage = map.value(u"errorMessage"_s).toString(),
            .triangleCount = map.value(u"triangleCount"_s).toLongLong(),
            .tetrahedronCount = map.value(u"tetrahedronCount"_s).toLongLong(),
            .vertexCount = map.value(u"vertexCount"_s).toLongLong(),
            .elapsedSeconds = map.value(u"elapsedSeconds"_s).toDouble()};
}

} // namespace corvane::xport
