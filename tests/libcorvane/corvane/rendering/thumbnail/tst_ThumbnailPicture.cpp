#include <corvane/rendering/thumbnail/ThumbnailPicture.h>
#include <corvane/rendering/thumbnail/ThumbnailView.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::BoundingVolume;
using corvane::camera::Camera;
using corvane::rendering::averaged;
using corvane::rendering::framed;
using corvane::rendering::thumbnailCamera;

namespace {

struct SquareCase
{
    QList<QColor> colors; ///< of four pixels
    QColor average;
};

/// The parts of a picture that the corners of a box reach, from -1 to 1.
QRectF seenRect(const Camera &camera, const BoundingVolume &box)
{
    QRectF all;
    for (int i = 0; i < 8; ++i) {
        const QVector3D corner(box.face(0, i & 1), box.face(1, i & 2), box.face(2, i & 4));
        all |= QRectF(camera.viewProjectionMatrix().map(corner).toPointF(), QSizeF(1e-6, 1e-6));
    }
    return all;
}

} // namespace

Q_DECLARE_METATYPE(SquareCase)
Q_DECLARE_METATYPE(corvane::BoundingVolume)

class TstThumbnailPicture : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void samplesAreAveragedAsLight_data();
    void samplesAreAveragedAsLight();
    void theBoxFillsThePicture_data();
    void theBoxFillsThePicture();
    void whatIsOpaqueFillsTheFrame();
};

void TstThumbnailPicture::samplesAreAveragedAsLight_data()
{
    QTest::addColumn<SquareCase>("square");
    const QColor clear(90, 90, 90, 0);
    QTest::newRow("one colour") << SquareCase{QList<QColor>(4, QColor(7, 80, 200)),
                                              QColor(7, 80, 200)};
    // Half the light of white is sRGB 188, not 128.
    QTest::newRow("black and white")
        << SquareCase{{Qt::white, Qt::black, Qt::white, Qt::black}, QColor(188, 188, 188)};
    QTest::newRow("an edge keeps its colour")
        << SquareCase{{QColor(200, 10, 0), clear, clear, clear}, QColor(200, 10, 0, 64)};
    QTest::newRow("nothing") << SquareCase{QList<QColor>(4, clear), QColor(0, 0, 0, 0)};
}

void TstThumbnailPicture::samplesAreAveragedAsLight()
{
    QFETCH(SquareCase, square);
    QImage samples(4, 2, QImage::Format_RGBA8888);
    samples.fill(Qt::magenta);
    for (int i = 0; i < 4; ++i)
        samples.setPixelColor(2 + i % 2, i / 2, square.colors[i]);
    const QImage picture = averaged(samples, 2);
    QCOMPARE(picture.size(), QSize(2, 1));
    QCOMPARE(picture.pixelColor(1, 0), square.average);
    QCOMPARE(picture.pixelColor(0, 0), QColor(Qt::magenta));
}

void TstThumbnailPicture::theBoxFillsThePicture_data()
{
    QTest::addColumn<BoundingVolume>("box");
    QTest::addColumn<QSize>("size");
    QTest::newRow("cube") << BoundingVolume({-1, -1, -1}, {1, 1, 1}) << QSize(128, 128);
    QTest::newRow("rod far away") << BoundingVolume({900, -1, 5}, {901, 30, 6}) << QSize(128, 128);
    QTest::newRow("plate") << BoundingVolume({-50, 0, -50}, {50, 0.1f, 50}) << QSize(64, 128);
    QTest::newRow("grain") << BoundingVolume({0, 0, 0}, {1e-3f, 1e-3f, 1e-3f}) << QSize(128, 64);
}

void TstThumbnailPicture::theBoxFillsThePicture()
{
    QFETCH(BoundingVolume, box);
    QFETCH(QSize, size);
    const Camera camera = thumbnailCamera(box, size);
    const QRectF seen = seenRect(camera, box);
    QVERIFY(std::abs(seen.center().x()) < 0.02 && std::abs(seen.center().y()) < 0.02);
    const double used = std::max(seen.width(), seen.height()) / 2.0;
    QVERIFY2(used > 0.8 && used < 0.9, qPrintable(QString::number(used)));
    // From the front, the right and above.
    const QVector3D eye = camera.position() - box.center();
    QVERIFY(eye.x() > 0 && eye.y() > 0 && eye.z() > 0);
}

void TstThumbnailPicture::whatIsOpaqueFillsTheFrame()
{
    const BoundingVolume box({-1, -1, -1}, {1, 1, 1});
    const Camera camera = thumbnailCamera(box, {64, 64});
    // A small ball in a corner of the box, as a rough picture shows it with its shadow.
    const QVector3D ball(0.5f, 0.4f, 0.3f);
    const QVector3D at = camera.viewProjectionMatrix().map(ball);
    const QPoint middle(int((at.x() + 1) * 32), int((1 - at.y()) * 32));
    QImage small(64, 64, QImage::Format_RGBA8888);
    small.fill(QColor(0, 0, 0, 60));
    for (int y = -8; y < 8; ++y)
        for (int x = -8; x < 8; ++x)
            small.setPixelColor(middle + QPoint(x, y), Qt::white);
    const Camera close = framed(camera, box, small);
    const QVector3D seen = close.viewProjectionMatrix().map(ball);
    QVERIFY(std::abs(seen.x()) < 0.1f && std::abs(seen.y()) < 0.1f);
    QVERIFY(close.distanceToTarget() < 0.35f * camera.distanceToTarget());
    QVERIFY(close.nearPlane() < close.distanceToTarget());
    small.fill(QColor(0, 0, 0, 60));
    QCOMPARE(framed(camera, box, small), camera);
}

QTEST_GUILESS_MAIN(TstThumbnailPicture)
#include "tst_ThumbnailPicture.moc"
