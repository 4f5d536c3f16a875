#include <corvane/rendering/layers/SurfaceVertices.h>
#include <corvane/rendering/layers/TetGeometry.h>

#include <QTest>

#include <cmath>
#include <limits>

using namespace corvane::rendering;
using ::mesh::ElementType;

namespace {

/// The cube from 0 to 1 in six tetrahedra around its diagonal, every second one inside out.
SurfaceMesh cube()
{
    SurfaceMesh mesh;
    for (int i = 0; i < 8; ++i)
        mesh.vertices.append({float(i & 1), float(i >> 1 & 1), float(i >> 2 & 1)});
    const int tets[6][4] = {{0, 1, 3, 7}, {0, 1, 5, 7}, {0, 4, 5, 7},
                            {0, 2, 3, 7}, {0, 4, 6, 7}, {0, 2, 6, 7}};
    for (const auto &t : tets)
        mesh.addElement(ElementType::Tetrahedron, {t[0], t[1], t[2], t[3]});
    return mesh;
}

double areaOf(const QList<TetGeometry::Face> &faces)
{
    double area = 0;
    for (const auto &face : faces)
        area += QVector3D::crossProduct(face.corners[1] - face.corners[0],
                                        face.corners[2] - face.corners[0])
                    .length() /
                2;
    return area;
}

} // namespace

class TstTetGeometry : public QObject
{
    Q_OBJECT

private slots:
    void outerFacesCloseTheVolumeAndFaceOut()
    {
        const auto faces = TetGeometry::extractBoundaryFaces(cube());
        QCOMPARE(faces.size(), 12);
        QVERIFY(std::abs(areaOf(faces) - 6) < 1e-6);
        for (const auto &face : faces) {
            const QVector3D out = face.corners[0] + face.corners[1] + face.corners[2] -
                                  3 * QVector3D(0.5f, 0.5f, 0.5f);
            QVERIFY(QVector3D::dotProduct(
                        QVector3D::normal(face.corners[0], face.corners[1], face.corners[2]), out) >
                    0);
        }
    }

    void aCutIsAsLargeAsTheSection_data()
    {
        QTest::addColumn<QVector3D>("point");
        QTest::addColumn<QVector3D>("normal");
        QTest::addColumn<double>("area");
        QTest::newRow("across") << QVector3D(0.3f, 0, 0) << QVector3D(1, 0, 0) << 1.0;
        QTest::newRow("other way") << QVector3D(0, 0.7f, 0) << QVector3D(0, -1, 0) << 1.0;
        QTest::newRow("diagonal") << QVector3D(0.5f, 0.5f, 0) << QVector3D(1, 1, 0).normalized()
                                  << std::sqrt(2.0);
        QTest::newRow("hexagon") << QVector3D(0.5f, 0.5f, 0.5f) << QVector3D(1, 1, 1).normalized()
                                 << 3 * std::sqrt(3.0) / 4;
        QTest::newRow("beside") << QVector3D(2, 0, 0) << QVector3D(1, 0, 0) << 0.0;
    }
    void aCutIsAsLargeAsTheSection()
    {
        QFETCH(QVector3D, point);
        QFETCH(QVector3D, normal);
        QFETCH(double, area);
        const auto faces = TetGeometry::extractCrossSectionFaces(cube(), point, normal);
        QVERIFY2(std::abs(areaOf(faces) - area) < 1e-5, qPrintable(QString::number(areaOf(faces))));
        for (const auto &face : faces) {
            const QVector3D n = QVector3D::crossProduct(face.corners[1] - face.corners[0],
                                                        face.corners[2] - face.corners[0]);
            QVERIFY(QVector3D::dotProduct(n, normal) >= 0);
        }
    }

    void qualityIsOneForARegularTetrahedronAndNothingForAFlatOne()
    {
        SurfaceMesh mesh;
        mesh.vertices = {{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1},
                         {0, 0, 0}, {1, 0, 0},   {0, 1, 0},   {1, 1, 0}};
        mesh.addElement(ElementType::Tetrahedron, {0, 1, 2, 3});
        mesh.addElement(ElementType::Tetrahedron, {0, 2, 1, 3});
        mesh.addElement(ElementType::Tetrahedron, {4, 5, 6, 7});
        const auto quality = TetGeometry::computeTetQuality(mesh);
        QVERIFY(std::abs(quality[0] - 1) < 1e-5f && std::abs(quality[1] - 1) < 1e-5f);
        QCOMPARE(quality[2], 0.0f);
        QVERIFY(TetGeometry::computeTetQuality(cube()).constFirst() < 0.9f);
    }

    void whatIsNoTetrahedronTakesNoPart()
    {
        SurfaceMesh mesh = cube();
        mesh.vertices.append({std::numeric_limits<float>::quiet_NaN(), 0, 0});
        mesh.addElement(ElementType::Tetrahedron, {0, 1, 2, 8});
        mesh.addElement(ElementType::Tetrahedron, {0, 1, 2, 99});
        mesh.addElement(ElementType::Tetrahedron, {0, 1, 2, -1});
        mesh.addElement(ElementType::Tetrahedron, {0, 1, 2});
        mesh.addElement(ElementType::Triangle, {0, 1, 2});
        QCOMPARE(TetGeometry::extractBoundaryFaces(mesh).size(), 12);
        QCOMPARE(TetGeometry::computeTetQuality(mesh).size(), mesh.elements.size());
        QVERIFY(TetGeometry::extractBoundaryFaces({}).isEmpty());
    }

    void aMeshOfTooManyTrianglesIsShownCoarser()
    {
        SurfaceMesh mesh; // a saddle
        constexpr int n = 120;
        for (int i = 0; i < n * n; ++i) {
            const float x = float(i % n) / n, y = float(i / n) / n; // NOLINT: whole rows
            mesh.vertices.append({x, y, x * y});
        }
        for (int i = 0; i < n * (n - 1); ++i) {
            if (i % n < n - 1)
                mesh.addElement(ElementType::Quad, {i, i + 1, i + n + 1, i + n});
        }
        const qint64 all = 2 * (n - 1) * (n - 1);
        const SurfaceVertices whole = SurfaceVertices::fromMesh(mesh, all);
        QCOMPARE(whole.triangleCount(), all);
        QVERIFY(!whole.isSimplified());
        const SurfaceVertices coarse = SurfaceVertices::fromMesh(mesh, all - 1);
        QVERIFY(coarse.isSimplified());
        QCOMPARE(coarse.trianglesInMesh, all);
        QVERIFY(coarse.triangleCount() > all / 50 && coarse.triangleCount() < all);
        QVERIFY((coarse.bounds.extent() - whole.bounds.extent()).length() < 0.2f);
    }
};

QTEST_MAIN(TstTetGeometry)
#include "tst_TetGeometry.moc"
