#include <rhi/BackendCaps.h>
#include <rhi/OffscreenRhi.h>
#include <rhi/RenderDevice.h>
#include <rhi/VulkanInstance.h>
#include <rhi/probeVulkan.h>

#include <QRegularExpression>
#include <QScopeGuard>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

// Qt's own words, which go before ours.
constexpr char driverFailure[] = "Failed to create Vulkan instance: -9";
constexpr char platformFailure[] = "Failed to create platform Vulkan instance";

/// Sets a variable of the environment for a scope.
auto withEnvironment(const char *name, const QByteArray &value)
{
    const QByteArray before = qgetenv(name);
    qputenv(name, value);
    return qScopeGuard([name, before] {
        if (before.isNull())
            qunsetenv(name);
        else
            qputenv(name, before);
    });
}

void expect(QtMsgType type, const char *message)
{
    QTest::ignoreMessage(type, message);
}

} // namespace

/// Runs without a GUI application, so what it proves holds with no display at all.
class TstOffscreenRhi : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void thereIsADeviceWithoutADisplay()
    {
        const RhiPointer rhi = createOffscreenRhi(nullptr);
        QVERIFY2(rhi,
                 "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
        QCOMPARE(rhi->backend(), QRhi::Vulkan);
        const BackendCaps caps = queryBackendCaps(rhi.get());
        QVERIFY(caps.computeSupported && caps.storageBuffersSupported);
        QVERIFY(caps.rgba16fSupported && caps.rgba32fSupported);
        QVERIFY(caps.maxColorAttachments >= 4);
        QCOMPARE(supportedRenderTargetFormat(rhi.get(), QRhiTexture::RGBA32F),
                 QRhiTexture::RGBA32F);
        QCOMPARE(supportedRenderTargetFormat(rhi.get(), QRhiTexture::RGBA8), QRhiTexture::RGBA16F);
    }

    void withoutADeviceNothingIsPromised()
    {
        QCOMPARE(queryBackendCaps(nullptr), BackendCaps());
        QCOMPARE(supportedRenderTargetFormat(nullptr, QRhiTexture::R8), QRhiTexture::R8);
    }

    void theProbePrefersVulkanOnceAndForAll()
    {
        expect(QtInfoMsg,
               "[RHI] Vulkan fully verified (instance + QRhi + SSBO) — will prefer Vulkan "
               "backend");
        const VulkanProbe &probe = probeVulkan();
        QVERIFY(probe.isPreferred);
        QCOMPARE(probe.instance, sharedVulkanInstance());
        QVERIFY(!probe.deviceName.isEmpty());
        QCOMPARE(&probeVulkan(), &probe); // a second line in the log would fail as unexpected
    }

    void aLoaderThatIsOrHasNothingIsSaid_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QByteArrayList>("warnings");
        QTest::newRow("a library that is no loader")
            << "QT_VULKAN_LIB"_ba
            << "libm.so.6"_ba
            << QByteArrayList{"Failed to find vkGetInstanceProcAddr",
                              "initInstance: No Vulkan library available", platformFailure};
        QTest::newRow("a loader without drivers")
            << "VK_ICD_FILENAMES"_ba
            << "/nonexistent/icd.json"_ba << QByteArrayList{driverFailure, platformFailure};
    }
    void aLoaderThatIsOrHasNothingIsSaid()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        QFETCH(QByteArrayList, warnings);
        const auto broken = withEnvironment(variable.constData(), value);
        for (const QByteArray &warning : std::as_const(warnings))
            expect(QtWarningMsg, warning);
        QVERIFY(!createOffscreenVulkanInstance());
    }

    void aLoaderThatFailsAtTheSecondCallLeavesTheFirst()
    {
        const std::unique_ptr<QVulkanInstance> first = createOffscreenVulkanInstance();
        QVERIFY(first);
        const auto broken = withEnvironment("VK_ICD_FILENAMES", "/nonexistent/icd.json");
        expect(QtWarningMsg, driverFailure);
        expect(QtWarningMsg, platformFailure);
        QVERIFY(!createOffscreenVulkanInstance());
        QVERIFY(createVulkanRhi(first.get(), selectOffscreenRenderDevice(first.get())));
        QVERIFY(createOffscreenRhi(nullptr)); // from the shared instance, which stays
    }
};

QTEST_GUILESS_MAIN(TstOffscreenRhi)
#include "tst_OffscreenRhi.moc"
