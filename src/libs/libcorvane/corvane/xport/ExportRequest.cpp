#include <corvane/xport/ExportRequest.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

constexpr struct
{
    QLatin1String word;
    SurfaceExtractor extractor;
} extractorWords[] = {
    {"MC"_L1, SurfaceExtractor::MarchingCubes},
    {"MarchingCubes"_L1, SurfaceExtractor::MarchingCubes},
    {"DC"_L1, SurfaceExtractor::DualContouring},
    {"DualContouring"_L1, SurfaceExtractor::DualContouring},
    {"DC-octree"_L1, SurfaceExtractor::OctreeDualContouring},
    {"DualContouringOctree"_L1, SurfaceExtractor::OctreeDualContouring},
};

} // namespace

SurfaceExtractor surfaceExtractorNamed(const QString &word)
{
    for (const auto &entry : extractorWords) {
        if (word == entry.word)
            return entry.extractor;
    }
    return SurfaceExtractor::MarchingCubes;
}

QStringList surfaceExtractorWords()
{
    QStringList words;
    for (const auto &entry : extractorWords)
        words.append(entry.word);
    return words;
}

ExportBackend exportBackendNamed(const QString &word, Qt::CaseSensitivity sensitivity)
{
    if (word.compare("gpu"_L1, sensitivity) == 0)
        return ExportBackend::Gpu;
    return word.compare("native"_L1, sensitivity) == 0 ? ExportBackend::Native : ExportBackend::Cpu;
}

ExportResult ExportResult::failed(const QString &message)
{
    ExportResult result;
    result.errorMessage = message;
    return result;
}

} // namespace corvane::xport
