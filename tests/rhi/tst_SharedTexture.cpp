#include <rhi/OffscreenRhi.h>
#include <rhi/SharedTexture.h>
#include <support/VulkanValidation.h>

#include <QLoggingCategory>
#include <QRegularExpression>

#include <thread>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

/// Clears the shared picture to a colour, as one frame of a producer.
bool paint(QRhi *rhi, SharedTexture *shared, const QColor &color)
{
    const std::unique_ptr<QRhiTextureRenderTarget> target(
        rhi->newTextureRenderTarget({{shared->texture()}}));
    const std::unique_ptr<QRhiRenderPassDescriptor> pass(
        target->newCompatibleRenderPassDescriptor());
    target->setRenderPassDescriptor(pass.get());
    QRhiCommandBuffer *commands = nullptr;
    if (!target->create() || rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
        return false;
    shared->beginFrame(commands);
    commands->beginPass(target.get(), color, {1.0f, 0});
    commands->endPass();
    shared->endFrame(commands);
    return rhi->endOffscreenFrame() == QRhi::FrameOpSuccess;
}

} // namespace

class TstSharedTexture : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(u"ondrel.rhi.sharedtexture=false"_s);
        QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers");
    }
    void cleanupTestCase() { QCOMPARE(VulkanValidation::takeComplaints(), QStringList()); }
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_producer = createOffscreenRhi(nullptr);
        m_consumer = createOffscreenRhi(nullptr);
        m_shared = SharedTexture::create(m_producer.get(), {64, 32});
        QVERIFY(m_producer && m_consumer && m_shared);
    }
    void cleanup()
    {
        m_shared.reset();
        m_consumer.reset();
        m_producer.reset();
    }

    void aFrameSaysWhereItsPictureIs()
    {
        QVERIFY(paint(m_producer.get(), m_shared.get(), Qt::red));
        const WorkerFrame frame = m_shared->frame(7);
        QCOMPARE(frame.size, QSize(64, 32));
        QCOMPARE(frame.sequence, 7);
        QCOMPARE(frame.sharedTexture, m_shared.get());
        QCOMPARE(frame.nativeLayout, qint32(VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL));
        QVERIFY(frame.nativeTexture != 0 && frame.pixels.isEmpty() && !frame.isEmpty());
        // Without a consumer there is nobody to wait for a semaphore.
        QCOMPARE(frame.flags, quint64(WorkerFrame::TopDown));
    }

    void aConsumerImportsOnce()
    {
        const auto image = SharedTexture::imageOf(m_shared->frame(1));
        QVERIFY(image);
        QRhiTexture *const texture = image->importInto(m_consumer.get());
        QVERIFY(texture);
        QCOMPARE(texture->pixelSize(), QSize(64, 32));
        QCOMPARE(image->importInto(m_consumer.get()), texture);
        image->releaseConsumer(m_consumer.get());
        image->releaseConsumer(m_consumer.get()); // once is enough
        QVERIFY(image->importInto(m_consumer.get()));
        m_consumer.reset(); // takes along what it made of the image
        m_consumer = createOffscreenRhi(nullptr);
        QVERIFY(image->importInto(m_consumer.get()));
        image->releaseConsumer(m_consumer.get());
    }

    void aFrameMayOutliveItsTexture()
    {
        const WorkerFrame frame = m_shared->frame(1);
        const auto image = SharedTexture::imageOf(frame);
        m_shared.reset();
        m_producer.reset();
        QVERIFY(!SharedTexture::imageOf(frame));
        QVERIFY(!SharedTexture::imageOf({}));
        QVERIFY(
            image->importInto(m_consumer.get())); // the memory is there as long as somebody has it
        image->releaseConsumer(m_consumer.get());
    }

    void framesCrossThreadsInOrder()
    {
        // The worker draws and asks, as often as it can, while the window imports, waits and lets
        // go.
        std::thread window([this, first = m_shared->frame(0)] {
            const RhiPointer rhi = createOffscreenRhi(nullptr);
            for (quint64 i = 0; i < 20; ++i) {
                const auto image = SharedTexture::imageOf(first);
                image->importInto(rhi.get());
                image->waitForFrame(rhi.get(), first);
                image->releaseConsumer(rhi.get());
            }
        });
        for (quint64 i = 1; i < 20; ++i) {
            paint(m_producer.get(), m_shared.get(), Qt::blue);
            m_shared->frame(i);
        }
        window.join();
    }

    void whatCannotBeSharedIsNotMade()
    {
        QVERIFY(!SharedTexture::create(nullptr, {8, 8}));
        QVERIFY(!SharedTexture::create(m_producer.get(), {0, 8}));
        QTest::ignoreMessage(QtWarningMsg,
                             "importInto: consumer not on the producer's physical device — "
                             "falling back to readback");
        QVERIFY(!SharedTexture::imageOf(m_shared->frame(1))->importInto(nullptr));
    }

private:
    RhiPointer m_producer;
    RhiPointer m_consumer;
    std::unique_ptr<SharedTexture> m_shared;
};

QTEST_GUILESS_MAIN(TstSharedTexture)
#include "tst_SharedTexture.moc"
