#include <corvane/rendering/RhiContext.h>

#include <rhi/OffscreenRhi.h>
#include <support/VulkanValidation.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

class TstGBuffer : public QObject
{
    Q_OBJECT

    rhi::RhiPointer m_rhi;

private slots:
    void initTestCase()
    {
        QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers");
        m_rhi = rhi::createOffscreenRhi(nullptr);
        QVERIFY(m_rhi);
    }
    void cleanupTestCase()
    {
        m_rhi.reset();
        QCOMPARE(VulkanValidation::takeComplaints(), QStringList());
    }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aSizeIsChangedInPlace()
    {
        GBuffer buffer;
        QVERIFY(buffer.initialize(m_rhi.get(), {32, 16}));
        QCOMPARE(buffer.normal()->format(), QRhiTexture::RGBA16F);
        QCOMPARE(buffer.itemId()->format(), QRhiTexture::RGBA8);
        QCOMPARE(buffer.depth()->format(), QRhiTexture::D32F);
        const int generation = buffer.generation();
        QVERIFY(buffer.resize({64, 8}));
        QCOMPARE(buffer.renderTarget()->pixelSize(), QSize(64, 8));
        QCOMPARE(buffer.albedo()->pixelSize(), QSize(64, 8));
        QCOMPARE(buffer.generation(), generation);
        buffer.release();
        QVERIFY(!buffer.isValid());
    }

    void whatCannotBeMadeLeavesNothing()
    {
        GBuffer buffer;
        QTest::ignoreMessage(QtWarningMsg, "GBuffer: could not be made in the size QSize(0, 5)");
        QVERIFY(!buffer.initialize(m_rhi.get(), {0, 5}));
        QVERIFY(!buffer.isValid() && !buffer.depth());

        QVERIFY(buffer.initialize(m_rhi.get(), {8, 8}));
        QTest::ignoreMessage(QtWarningMsg, "GBuffer: In-place resize failed, falling back to full "
                                           "reinitialize");
        QTest::ignoreMessage(QtWarningMsg, "GBuffer: could not be made in the size QSize(0, 0)");
        QVERIFY(!buffer.resize({0, 0}));
        QVERIFY(!buffer.isValid());
    }

    void anOffscreenTargetThatCannotBeIsRefused_data()
    {
        QTest::addColumn<bool>("hasDevice");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QString>("error");
        QTest::newRow("no device")
            << false << QSize(8, 8) << u"RhiContext::ensureOffscreen: null RHI provided"_s;
        QTest::newRow("no pixels")
            << true << QSize(0, -4) << u"RhiContext::ensureOffscreen: invalid size 0x-4"_s;
        QTest::newRow("too many") << true << QSize(4096, 4096)
                                  << u"RhiContext::ensureOffscreen: 4096x4096 (16.8 MP) exceeds "
                                     "budget maxOffscreenPixels (8.4 MP)"_s;
        QTest::newRow("too many for 32 bits")
            << true << QSize(65536, 65536)
            << u"RhiContext::ensureOffscreen: 65536x65536 (4295.0 MP) exceeds budget "
               "maxOffscreenPixels (8.4 MP)"_s;
    }
    void anOffscreenTargetThatCannotBeIsRefused()
    {
        QFETCH(bool, hasDevice);
        QFETCH(QSize, size);
        RhiContext context;
        QString error;
        QVERIFY(!context.ensureOffscreen(hasDevice ? m_rhi.get() : nullptr, size, 1, &error));
        QTEST(error, "error");
        QVERIFY(!context.offscreen.isValid());
    }

    void samplesAreThoseOfTheBudgetAndTheDevice()
    {
        RhiContext context;
        QString error;
        QVERIFY2(context.ensureOffscreen(m_rhi.get(), {16, 16}, 64, &error), qPrintable(error));
        QCOMPARE(context.offscreen.sampleCount(), 4);
        QCOMPARE(context.offscreen.color()->sampleCount(), 1);
        const QRhiTexture *const color = context.offscreen.color();
        QVERIFY(context.ensureOffscreen(m_rhi.get(), {16, 16}, 64, &error));
        QCOMPARE(context.offscreen.color(), color); // it fits
        QVERIFY(context.ensureOffscreen(m_rhi.get(), {16, 16}, 3, &error));
        QCOMPARE(context.offscreen.sampleCount(), 1);
    }
};

QTEST_GUILESS_MAIN(TstGBuffer)
#include "tst_GBuffer.moc"
