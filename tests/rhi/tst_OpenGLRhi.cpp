#include <rhi/BackendCaps.h>
#include <rhi/OffscreenRhi.h>
#include <rhi/WorkerHost.h>
#include <rhi/WorkerProducer.h>
#include <rhi_widgets/preferredRhiApi.h>
#include <support/VirtualDisplay.h>
#include <toast/ErrorManager.h>

#include <QApplication>
#include <QOffscreenSurface>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

constexpr char noInstance[] = "Failed to create Vulkan instance: -9";
constexpr char noPlatformInstance[] = "Failed to create platform Vulkan instance";
constexpr char fallsBack[] =
    "createOffscreenRhi: Vulkan create failed — falling back to OpenGL(ES)";
void expectNoVulkan()
{
    QTest::ignoreMessage(QtWarningMsg, noInstance);
    QTest::ignoreMessage(QtWarningMsg, noPlatformInstance);
}

/// Answers one frame, which says what it was drawn with.
class BackendProducer : public WorkerProducer
{
public:
    bool onInitialize(QRhi *) override { return true; }
    WorkerFrame onTick(QRhi *rhi) override
    {
        return {.size = {1, 1}, .sequence = ++m_sequence, .pixels = rhi->backendName()};
    }
    void onRelease(QRhi *) override {}
    bool onDeviceLoss(QRhi *) override { return true; }

private:
    quint64 m_sequence = 0;
};

} // namespace

/// Runs with a loader that has no driver: what is left is OpenGL.
class TstOpenGLRhi : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void openGLServesWhereVulkanDoesNot()
    {
        QOffscreenSurface surface; // of another format than is wanted
        surface.create();
        expectNoVulkan();
        QTest::ignoreMessage(QtInfoMsg, fallsBack);
        const RhiPointer rhi = createOffscreenRhi(&surface);
        QVERIFY2(rhi, "no OpenGL: install libgl1-mesa-dri");
        QCOMPARE(rhi->backend(), QRhi::OpenGLES2);
        QVERIFY(queryBackendCaps(rhi.get()).computeSupported);
        QCOMPARE(surface.requestedFormat(), preferredOffscreenSurfaceFormat());
    }

    void anOldDriverGivesADeviceWithoutCompute()
    {
        // Mesa reads the version to pretend once, at its start.
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"MESA_GL_VERSION_OVERRIDE"_s, u"3.3"_s);
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {u"--without-compute"_s});
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitCode(), 0);
    }

    void withoutASurfaceNothingIsLeft()
    {
        expectNoVulkan();
        QTest::ignoreMessage(QtInfoMsg, fallsBack);
        QTest::ignoreMessage(QtWarningMsg,
                             "createOffscreenRhi: failed to create any QRhi backend (Vulkan "
                             "and OpenGL(ES) both unavailable)");
        QVERIFY(!createOffscreenRhi(nullptr));
    }

    void aWorkerDrawsWithOpenGL()
    {
        WorkerHost host;
        const QSignalSpy frames(&host, &WorkerHost::frameReady);
        expectNoVulkan();
        QTest::ignoreMessage(QtInfoMsg, fallsBack);
        QVERIFY(host.start(std::make_unique<BackendProducer>(), {}));
        host.requestTick();
        QTRY_COMPARE(frames.size(), 1);
        QCOMPARE(frames.first().first().value<WorkerFrame>().pixels, "OpenGL"_ba);
    }

    void openGLIsPreferredThen()
    {
        expectNoVulkan();
        QTest::ignoreMessage(
            QtInfoMsg, "[RHI] Vulkan not available (instance creation failed) — will use OpenGL");
        QTest::ignoreMessage(QtInfoMsg, "[INFO] RHI: Using OpenGL backend");
        QCOMPARE(preferredRhiApi(), QRhiWidget::Api::OpenGL);
        QCOMPARE(preferredRhiApi(), QRhiWidget::Api::OpenGL);
        const QList<ErrorEntry> reports = ErrorManager::instance().errorsForSource(u"RHI"_s);
        QCOMPARE(reports.size(), 1);
        QCOMPARE(reports.first().severity, ErrorSeverity::Info);
    }
};

/// The program of anOldDriverGivesADeviceWithoutCompute: 0 when that is so.
static int checkWithoutCompute()
{
    QOffscreenSurface surface;
    surface.setFormat(preferredOffscreenSurfaceFormat());
    surface.create();
    const RhiPointer rhi = createOpenGLRhi(&surface);
    if (!rhi)
        return 1;
    const BackendCaps caps = queryBackendCaps(rhi.get());
    return caps.computeSupported || caps.storageBuffersSupported || caps.maxColorAttachments < 4
               ? 2
               : 0;
}

int main(int argc, char *argv[])
{
    qputenv("VK_ICD_FILENAMES", "/nonexistent/icd.json");
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    const QApplication application(argc, argv);
    if (application.arguments().contains(u"--without-compute"_s))
        return checkWithoutCompute();
    TstOpenGLRhi test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_OpenGLRhi.moc"
