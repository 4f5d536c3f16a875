#include <support/ExportRun.h>

#include <eval/gpu/GpuBackend.h>
#include <eval/gpu/GpuDevice.h>
#include <eval/internal/Cache.h>

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace support;
using corvane::xport::ExportBackend;

namespace {

constexpr auto scene = "(subtract (box 2 1 1.5) (sphere 1.2))";

} // namespace

/// Chunks that a device samples.
class TstGpuExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        eval::gpu::registerGpuBackend();
        QVERIFY2(eval::gpu::gpuBackendAvailable(),
                 "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
    }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanupTestCase()
    {
        eval::internal::Cache::instance().clear();
        eval::gpu::shutdownGpu();
    }

    void theSurfaceIsThatOfTheProcessor();
    void dualContouringBecomesMarchingCubes();
    void aLostDeviceIsAFailureAndNoFile();

private:
    ExportRequest request(const QString &file, ExportBackend backend) const
    {
        ExportRequest made = requestFor(QLatin1StringView(scene), m_folder.filePath(file), 0.1f);
        made.backend = static_cast<int>(backend);
        made.chunkSize = 16; // several chunks, so that there are seams
        made.threadCount = 2;
        made.sealed = true;
        return made;
    }

    QTemporaryDir m_folder;
};

void TstGpuExport::theSurfaceIsThatOfTheProcessor()
{
    const ExportRequest onGpu = request(u"gpu.stl"_s, ExportBackend::Gpu);
    const ExportRequest onCpu = request(u"cpu.stl"_s, ExportBackend::Cpu);
    const ExportResult gpu = exported(onGpu);
    const ExportResult cpu = exported(onCpu);
    QVERIFY2(gpu.success, qPrintable(gpu.errorMessage));
    QVERIFY(cpu.success);
    QCOMPARE(gpu.triangleCount, cpu.triangleCount);
    const FloatMesh found = meshOf(onGpu);
    const FloatMesh wanted = meshOf(onCpu);
    QVERIFY(isClosedManifold(found));
    QCOMPARE(found.vertices.size(), wanted.vertices.size());
    for (qsizetype i = 0; i < found.vertices.size(); ++i)
        QVERIFY((found.vertices[i] - wanted.vertices[i]).length() < 1e-4f);
}

void TstGpuExport::dualContouringBecomesMarchingCubes()
{
    QTest::ignoreMessage(QtWarningMsg,
                         "GpuChunkProcessor: DualContouring not implemented on the GPU sampling "
                         "path yet — falling back to Marching Cubes");
    ExportRequest dual = request(u"dual.stl"_s, ExportBackend::Gpu);
    dual.extractor = 1;
    const ExportResult result = exported(dual);
    QCOMPARE(result.triangleCount,
             exported(request(u"march.stl"_s, ExportBackend::Gpu)).triangleCount);
}

void TstGpuExport::aLostDeviceIsAFailureAndNoFile()
{
    const ExportRequest onGpu = request(u"lost.stl"_s, ExportBackend::Gpu);
    QVERIFY(exported(onGpu).success);
    QVERIFY(QFile::remove(onGpu.outputPath));
    eval::gpu::GpuDevice::instance().loseAtNextFrame();
    const ExportResult result = exported(onGpu);
    QCOMPARE(result.errorMessage,
             u"GPU evaluation error: GpuProgram::dispatch: QRhi device-lost (compute lane)"_s);
    QVERIFY(!QFile::exists(onGpu.outputPath));
    QVERIFY(exported(onGpu).success); // on a device made anew
}

QTEST_GUILESS_MAIN(TstGpuExport)
#include "tst_GpuExport.moc"
