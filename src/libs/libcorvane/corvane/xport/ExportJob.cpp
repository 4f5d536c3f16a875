#include <corvane/xport/ExportJob.h>

#include <corvane/xport/ExportFields.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

// Reads values of the type that is wanted and leaves alone what they would replace otherwise.
class PayloadReader : public ExportFields
{
public:
    explicit PayloadReader(const QVariantMap &payload)
        : m_payload(payload)
    {}

    QString text(const QString &key) const { return m_payload.value(key).toString(); }
    void readCount(const QString &key, int &count) const override
    {
        bool ok = false;
        const int number = m_payload.value(key).toInt(&ok);
        if (ok)
            count = number;
    }

private:
    QVariant value(const QString &key) const override { return m_payload.value(key); }
    bool readNumber(const QString &key, float &number) override
    {
        bool ok = false;
        const float found = m_payload.value(key).toFloat(&ok);
        if (ok)
            number = found;
        return ok;
    }

    const QVariantMap &m_payload;
};

int algorithmNamed(const QString &word)
{
    const auto algorithm = word == "volume"_L1   ? ExportAlgorithm::Volume
                           : word == "direct"_L1 ? ExportAlgorithm::Direct
                                                 : ExportAlgorithm::Surface;
    return int(algorithm);
}

} // namespace

ExportRequest exportRequestFromPayload(const QVariantMap &payload, const MeshExportContext &context)
{
    PayloadReader reader(payload);
    ExportRequest request;
    request.nodes = context.nodes;
    request.shaderSource = context.shaderSource;
    request.shaderResult = context.shaderResult;
    request.outputPath = reader.text(u"outputPath"_s);
    reader.readCount(u"rootNodeIndex"_s, request.rootNodeIndex);
    reader.readInto(request);
    request.backend = int(exportBackendNamed(reader.text(u"backend"_s)));
    request.algorithm = algorithmNamed(reader.text(u"algorithm"_s));
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
