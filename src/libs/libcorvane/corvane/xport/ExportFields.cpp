#include <corvane/xport/ExportFields.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

/// A list of texts; one text alone is a list of one, and an empty one of none.
QStringList textsOf(const QVariant &value)
{
    const QStringList texts = value.toStringList();
    return texts == QStringList(QString()) ? QStringList() : texts;
}

} // namespace

ExportFields::~ExportFields() = default;

bool ExportFields::readInto(ExportRequest &request)
{
    const bool hasLow = readCorner(u"min"_s, request.boundsMin);
    const bool hasHigh = readCorner(u"max"_s, request.boundsMax);
    readNumber(u"cellSize"_s, request.cellSize);
    readCount(u"threadCount"_s, request.threadCount);
    readCount(u"chunkSize"_s, request.chunkSize);
    request.extractor = int(surfaceExtractorNamed(value(u"extractor"_s).toString()));
    request.sealed = value(u"sealed"_s).toBool();
    request.autoBounds = value(u"autoBounds"_s).toBool();
    request.postprocess = textsOf(value(u"postprocess"_s));
    return hasLow && hasHigh;
}

bool ExportFields::readCorner(const QString &end, QVector3D &corner)
{
    static constexpr QChar axes[] = {u'X', u'Y', u'Z'};
    bool isWhole = true;
    for (int axis = 0; axis < 3; ++axis) {
        float coordinate = corner[axis];
        isWhole = readNumber(u"bounds."_s + end + axes[axis], coordinate) && isWhole;
        corner[axis] = coordinate;
    }
    return isWhole;
}

} // namespace corvane::xport
