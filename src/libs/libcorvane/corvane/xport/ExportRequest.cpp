#include <corvane/xport/ExportRequest.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

SurfaceExtractor surfaceExtractorNamed(const QString &word)
{
    static constexpr struct
    {
        QLatin1String word;
        SurfaceExtractor extractor;
    } words[] = {
        {"DC"_L1, SurfaceExtractor::DualContouring},
        {"DualContouring"_L1, SurfaceExtractor::DualContouring},
        {"DC-octree"_L1, SurfaceExtractor::OctreeDualContouring},
        {"DualContouringOctree"_L1, SurfaceExtractor::OctreeDualContouring},
    };
    for (const auto &entry : words) {
        if (word == entry.word)
            return entry.extractor;
    }
    return SurfaceExtractor::MarchingCubes;
}

ExportResult ExportResult::failed(const QString &message)
{
    ExportResult result;
    result.errorMessage = message;
    return result;
}

} // namespace corvane::xport
