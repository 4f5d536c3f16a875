#include <rhi/OffscreenRhi.h>
#include <rhi/RenderDevice.h>
#include <rhi/SharedTexture.h>
#include <rhi/VulkanDevice.h>
#include <rhi/VulkanInstance.h>
#include <rhi_widgets/RhiPresentWidget.h>
#include <rhi_widgets/preferredRhiApi.h>
#include <support/VirtualDisplay.h>
#include <support/VulkanValidation.h>

#include <QApplication>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

constexpr int side = 160; ///< of the window

const QColor red(255, 0, 0);
const QColor green(0, 255, 0);
const QColor blue(0, 0, 255);
const QColor white(255, 255, 255);

QByteArray bytesOf(const QList<QColor> &colors)
{
    QByteArray bytes;
    for (const QColor &color : colors) {
        for (const int component : {color.red(), color.green(), color.blue(), color.alpha()})
            bytes.append(char(component));
    }
    return bytes;
}

/// Two by two pixels: red and green above blue and white.
WorkerFrame fourColors(quint64 sequence)
{
    return {.size = {2, 2}, .sequence = sequence, .pixels = bytesOf({red, green, blue, white})};
}

WorkerFrame plain(const QColor &color, quint64 sequence)
{
    return {.size = {2, 2}, .sequence = sequence, .pixels = bytesOf({color, color, color, color})};
}

/// A window with nothing but a present widget in it.
class Window : public QWidget
{
public:
    explicit Window(QRhiWidget::Api api)
        : present(new RhiPresentWidget(this))
    {
        present->setApi(api);
        auto *const layout = new QVBoxLayout(this);
        layout->setContentsMargins({});
        layout->addWidget(present);
        resize(side, side);
        show();
    }
    /// What the X server has of it.
    QImage onScreen() const
    {
        return screen()->grabWindow(winId()).toImage().convertToFormat(QImage::Format_RGB32);
    }
    bool shows(const QPoint &position, const QColor &color) const
    {
        const QColor seen = onScreen().pixelColor(position);
        return std::abs(seen.red() - color.red()) <= 1 &&
               std::abs(seen.green() - color.green()) <= 1 &&
               std::abs(seen.blue() - color.blue()) <= 1;
    }

    RhiPresentWidget *present;
};

/// Draws frames of pixels into a shared texture, as a producer would draw its scene.
class SharedPicture
{
public:
    SharedPicture(QRhi *rhi, SharedTexture *shared)
        : m_rhi(rhi)
        , m_shared(shared)
        , m_target(rhi->newTextureRenderTarget({{shared->texture()}}))
        , m_passFormat(m_target->newCompatibleRenderPassDescriptor())
    {
        m_target->setRenderPassDescriptor(m_passFormat.get());
        m_target->create();
    }
    bool draw(const WorkerFrame &frame)
    {
        QRhiCommandBuffer *commands = nullptr;
        m_rhi->beginOffscreenFrame(&commands);
        QRhiResourceUpdateBatch *const updates = m_rhi->nextResourceUpdateBatch();
        const bool isReady = m_pixels.upload(m_rhi, updates, frame) &&
                             m_pass.ensurePipeline(m_rhi, m_passFormat.get(), 1) &&
                             m_pass.rebuildSrb(m_rhi, m_pixels.texture());
        m_pass.update(m_rhi, updates, {}, false);
        m_shared->beginFrame(commands);
        commands->beginPass(m_target.get(), Qt::black, {1.0f, 0}, updates);
        m_pass.draw(commands, m_shared->size());
        commands->endPass();
        m_shared->endFrame(commands);
        return m_rhi->endOffscreenFrame() == QRhi::FrameOpSuccess && isReady;
    }
    void release()
    {
        m_target.reset();
        m_passFormat.reset();
    }

private:
    QRhi *m_rhi;
    SharedTexture *m_shared;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<QRhiRenderPassDescriptor> m_passFormat;
    FrameTexture m_pixels;
    PresentPass m_pass;
};

constexpr QPoint upperLeft(10, 10), upperRight(side - 10, 10), lowerLeft(10, side - 10),
    lowerRight(side - 10, side - 10), middle(side / 2, side / 2);

void expect(const char *text)
{
    QTest::ignoreMessage(QtWarningMsg, text);
}

} // namespace

class TstRhiPresentWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers");
        QVulkanInstance *const instance = sharedVulkanInstance();
        requestSharingForWindows(instance, selectOffscreenRenderDevice(instance));
    }
    void cleanupTestCase() { QCOMPARE(VulkanValidation::takeComplaints(), QStringList()); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aFrameIsShownUprightUnderTranslucentChildren_data() { addApis(); }
    void aFrameIsShownUprightUnderTranslucentChildren()
    {
        QFETCH(QRhiWidget::Api, api);
        Window window(api);
        window.present->setClearColor(blue);
        QTRY_VERIFY(window.shows(middle, blue)); // no frame yet
        QVERIFY(window.present->presentFrame(fourColors(1)));
        QVERIFY(!window.present->presentFrame(fourColors(1)));
        QTRY_VERIFY(window.shows(upperLeft, red));
        QVERIFY(window.shows(upperRight, green));
        QVERIFY(window.shows(lowerLeft, blue));
        QVERIFY(window.shows(lowerRight, white));

        auto *const veil = new QWidget(window.present);
        veil->setStyleSheet(u"background: rgba(0, 0, 255, 50%)"_s);
        veil->setGeometry(0, 0, 30, 30);
        veil->show();
        QTRY_VERIFY(window.shows(upperLeft, QColor(127, 0, 128)));
        QVERIFY(window.shows(upperRight, green));
        const QImage grabbed = window.present->grabFramebuffer();
        QCOMPARE(grabbed.pixelColor(upperLeft), red); // the picture alone
        QCOMPARE(grabbed.pixelColor(lowerRight), white);
    }

    void partsAreDrawnIntoThePictureThatIsThere_data() { addApis(); }
    void partsAreDrawnIntoThePictureThatIsThere()
    {
        QFETCH(QRhiWidget::Api, api);
        Window window(api);
        window.present->setClearColor(blue);
        QTRY_VERIFY(window.shows(middle, blue));
        const auto part = [](const QRect &damage, quint64 sequence) {
            return WorkerFrame{
                .size = {2, 2}, .sequence = sequence, .pixels = bytesOf({white}), .damage = damage};
        };
        const auto isDropped = [&](const WorkerFrame &frame, const QColor &shown) {
            window.present->presentFrame(frame);
            return window.present->grabFramebuffer().pixelColor(middle) == shown;
        };
        expect("RhiPresentWidget: damage frame without a full-frame base — dropped");
        const QSignalSpy needed(window.present, &RhiPresentWidget::wholeFrameNeeded);
        QVERIFY(isDropped(part({0, 0, 1, 1}, 1), blue));
        QVERIFY(isDropped(part({0, 0, 1, 1}, 1), blue)); // said once
        QCOMPARE(needed.size(), 2);
        window.present->presentFrame(plain(red, 2));
        QTRY_VERIFY(window.shows(middle, red));
        expect("RhiPresentWidget: damage rect out of bounds — dropped");
        QVERIFY(isDropped(part({1, 1, 2, 1}, 3), red));
        expect("RhiPresentWidget: damage rect out of bounds — dropped");
        QVERIFY(isDropped(part({-1, 0, 1, 1}, 4), red));
        expect("RhiPresentWidget: frame pixel buffer too small (4 < 8)");
        QVERIFY(isDropped(part({0, 0, 2, 1}, 5), red));
        WorkerFrame huge = plain(white, 6);
        huge.size = {1 << 20, 1 << 20};
        expect("RhiPresentWidget: frame pixel buffer too small (16 < 4398046511104)");
        QVERIFY(isDropped(huge, red));
        huge.size = {-1, -1};
        huge.sequence = 7;
        QVERIFY(isDropped(huge, red));

        window.present->presentFrame(part({1, 0, 1, 1}, 8));
        QTRY_VERIFY(window.shows(upperRight, white));
        QVERIFY(window.shows(upperLeft, red) && window.shows(lowerRight, red));
    }

    void settingsChangeHowItIsShown_data()
    {
        QTest::addColumn<QRhiWidget::Api>("api");
        QTest::addColumn<PresentSettings>("settings");
        QTest::addColumn<QColor>("frame");
        QTest::addColumn<QColor>("shown");
        for (const auto &[name, api] : m_apis) {
            const auto row = [&name = name, &api = api](const char *what,
                                                        const PresentSettings &settings,
                                                        const QColor &frame, const QColor &shown) {
                QTest::addRow("%s, %s", name, what) << api << settings << frame << shown;
            };
            row("exposure", {.exposure = 0.5f}, QColor(200, 100, 50), QColor(100, 50, 25));
            // 0.5 / 1.5 = 0.3333, sRGB 0.6124
            row("Reinhard", {.toneMap = ToneMap::Reinhard, .exposure = 0.5f}, white,
                QColor(156, 156, 156));
            // 0.8 by the fit: 1.6304 / 2.1672 = 0.7523... encoded 0.8845
            row("ACES", {.toneMap = ToneMap::Aces, .exposure = 0.8f}, white, QColor(226, 226, 226));
            row("checker through half a colour", {.checkerEnabled = true, .checkerTile = 1000},
                QColor(0, 0, 0, 128), QColor(100, 100, 100));
            row("the other cell",
                {.checkerEnabled = true, .checkerPan = {1000, 0}, .checkerTile = 1000},
                QColor(0, 0, 0, 0), QColor(120, 120, 120));
            row("zoomed so far that one cell is left",
                {.checkerEnabled = true, .checkerTile = 8, .checkerZoom = 1000}, QColor(0, 0, 0, 0),
                QColor(200, 200, 200));
            row("sizes of nothing", {.checkerEnabled = true, .checkerTile = 0, .checkerZoom = 0},
                red, red);
        }
    }
    void settingsChangeHowItIsShown()
    {
        QFETCH(QRhiWidget::Api, api);
        QFETCH(PresentSettings, settings);
        QFETCH(QColor, frame);
        QFETCH(QColor, shown);
        Window window(api);
        window.present->setPresentSettings(settings);
        window.present->presentFrame(plain(frame, 1));
        QTRY_VERIFY2(window.shows(middle, shown),
                     qPrintable(window.onScreen().pixelColor(middle).name()));
    }

    void aSharedImageIsShownWithoutACopy()
    {
        const RhiPointer producer = createOffscreenRhi(nullptr);
        auto shared = SharedTexture::create(producer.get(), {2, 2});
        QVERIFY(shared);
        SharedPicture picture(producer.get(), shared.get());
        QVERIFY(picture.draw(fourColors(1)));
        Window window(QRhiWidget::Api::Vulkan);
        window.present->presentFrame(shared->frame(1));
        QTRY_VERIFY(window.shows(upperLeft, red));
        QVERIFY(window.shows(upperRight, green) && window.shows(lowerLeft, blue));
        // The same image again, with another picture in it.
        QVERIFY(picture.draw(plain(green, 2)));
        window.present->presentFrame(shared->frame(2));
        QTRY_VERIFY(window.shows(upperLeft, green));
        // The producer goes: the window keeps what it has, and a frame of nothing changes nothing.
        const WorkerFrame late = shared->frame(3);
        picture.release();
        shared.reset();
        window.present->presentFrame(late);
        QCOMPARE(window.present->grabFramebuffer().pixelColor(upperLeft), green);
        window.present->presentFrame(plain(blue, 4));
        QTRY_VERIFY(window.shows(upperLeft, blue));

        Window other(QRhiWidget::Api::OpenGL);
        shared = SharedTexture::create(producer.get(), {2, 2});
        SharedPicture again(producer.get(), shared.get());
        QVERIFY(again.draw(plain(red, 5)));
        expect("importInto: consumer not on the producer's physical device — falling back to "
               "readback");
        const QSignalSpy unavailable(other.present, &RhiPresentWidget::sharedFramesUnavailable);
        other.present->presentFrame(shared->frame(5));
        QTRY_COMPARE(unavailable.size(), 1);
    }

    void itOutlivesItsWindowAndItsSize_data() { addApis(); }
    void itOutlivesItsWindowAndItsSize()
    {
        QFETCH(QRhiWidget::Api, api);
        auto window = std::make_unique<Window>(api);
        RhiPresentWidget *const present = window->present;
        present->setSampleCount(4);
        present->presentFrame(plain(red, 1));
        QTRY_VERIFY(window->shows(middle, red));
        present->setSampleCount(1);
        QTRY_COMPARE(present->grabFramebuffer().pixelColor(middle), red);
        present->setSampleCount(4);
        window->resize(side * 2, side);
        QTRY_VERIFY(window->shows({side * 2 - 5, side / 2}, red));

        // Into another window: another device, which has no picture until the worker sends one.
        Window other(api);
        delete other.layout()->replaceWidget(other.present, present);
        delete std::exchange(other.present, present);
        window.reset();
        QVERIFY(present->presentFrame(plain(green, 1)));
        QTRY_VERIFY(other.shows(middle, green));
    }

    void inputIsHandedOn()
    {
        Window window(QRhiWidget::Api::OpenGL);
        QWindow *const native = window.windowHandle(); // which the widget fills
        QVERIFY(QTest::qWaitForWindowExposed(native));
        QList<QEvent::Type> seen;
        const auto see = [&seen](const QEvent *event) { seen.append(event->type()); };
        connect(window.present, &RhiPresentWidget::mouseEventReceived, this, see);
        connect(window.present, &RhiPresentWidget::keyEventReceived, this, see);
        const QSignalSpy picks(window.present, &RhiPresentWidget::pickRequested);
        QTest::mouseClick(native, Qt::LeftButton, {}, {20, 30});
        QCOMPARE(picks.size(), 1);
        QCOMPARE(picks.first().first().toPoint(), QPoint(20, 30));
        QTest::mouseClick(native, Qt::RightButton, {}, {20, 30});
        QTest::mousePress(native, Qt::LeftButton, {}, {20, 30});
        QMouseEvent drag(QEvent::MouseMove, QPointF(90, 90), QPointF(90, 90), Qt::NoButton,
                         Qt::LeftButton, {});
        QCoreApplication::sendEvent(window.present, &drag);
        QTest::mouseRelease(native, Qt::LeftButton, {}, {90, 90});
        QCOMPARE(picks.size(), 1); // neither another button nor a drag
        window.present->setFocus();
        QTest::keyClick(native, Qt::Key_F);
        QCOMPARE(seen.last(2), QList({QEvent::KeyPress, QEvent::KeyRelease}));
        seen.removeAll(QEvent::MouseMove); // before each press elsewhere comes one
        QCOMPARE(seen.first(2), QList({QEvent::MouseButtonPress, QEvent::MouseButtonRelease}));
    }

    void theProbedDeviceIsReported()
    {
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(u"verified"_s));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(u"Using Vulkan backend with "_s));
        QCOMPARE(preferredRhiApi(), QRhiWidget::Api::Vulkan);
    }

private:
    void addApis()
    {
        QTest::addColumn<QRhiWidget::Api>("api");
        for (const auto &[name, api] : m_apis)
            QTest::newRow(name) << api;
    }

    const std::pair<const char *, QRhiWidget::Api> m_apis[2] = {
        {"Vulkan", QRhiWidget::Api::Vulkan}, {"OpenGL", QRhiWidget::Api::OpenGL}};
};

CORVANE_DISPLAY_MAIN(TstRhiPresentWidget)
#include "tst_RhiPresentWidget.moc"
