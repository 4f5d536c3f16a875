#include <support/MeshChecks.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using mesh::NodeList;
using support::Point;

class TstMesh : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void elementTypesHaveTheirFacts_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("dimension");
        QTest::addColumn<int>("vtkCell");
        QTest::newRow("point") << 0 << 0 << 1;
        QTest::newRow("line") << 10 << 1 << 3;
        QTest::newRow("quadratic line") << 11 << 1 << 21;
        QTest::newRow("triangle") << 20 << 2 << 5;
        QTest::newRow("quadratic triangle") << 21 << 2 << 22;
        QTest::newRow("quad") << 22 << 2 << 9;
        QTest::newRow("serendipity quad") << 23 << 2 << 23;
        QTest::newRow("biquadratic quad") << 24 << 2 << 28;
        QTest::newRow("tetrahedron") << 30 << 3 << 10;
        QTest::newRow("quadratic tetrahedron") << 31 << 3 << 24;
        QTest::newRow("hexahedron") << 32 << 3 << 12;
        QTest::newRow("quadratic hexahedron") << 33 << 3 << 25;
        QTest::newRow("triquadratic hexahedron") << 34 << 3 << 29;
        QTest::newRow("wedge") << 35 << 3 << 13;
        QTest::newRow("pyramid") << 36 << 3 << 14;
        for (const int none : {-1, 1, 12, 19, 25, 37, 1000})
            QTest::addRow("no element %d", none) << none << -1 << 0;
    }

    void elementTypesHaveTheirFacts()
    {
        QFETCH(const int, value);
        QFETCH(const int, dimension);
        QFETCH(const int, vtkCell);
        const auto type = ElementType(value);
        QCOMPARE(mesh::dimension(type), dimension);
        QCOMPARE(mesh::vtkCellType(type), vtkCell);
        QCOMPARE(mesh::nodeCount(type) > 0, dimension >= 0);
        if (dimension >= 0)
            QCOMPARE(mesh::elementTypeOfVtkCell(vtkCell), type);
        else
            QVERIFY(!mesh::elementTypeOfVtkCell(vtkCell));
    }

    void nodeListsOfAnyLengthAreValues_data()
    {
        QTest::addColumn<int>("length");
        for (const int length : {0, 3, 4, 5, 27, 1000})
            QTest::addRow("%d nodes", length) << length;
    }

    void nodeListsOfAnyLengthAreValues()
    {
        QFETCH(const int, length);
        NodeList nodes;
        QList<int> expected;
        for (int i = 0; i < length; ++i) {
            nodes.append(i * i);
            expected.append(i * i);
        }
        QCOMPARE(nodes.toList(), expected);
        NodeList copy = nodes;
        NodeList moved = std::move(nodes);
        QVERIFY(copy == moved);
        copy.append(-7);
        QVERIFY(!(copy == moved));
        QCOMPARE(moved.toList(), expected);
        copy = moved;
        moved = {1, 2};
        QCOMPARE(copy.toList(), expected);
        copy = std::move(moved);
        QCOMPARE(copy.toList(), (QList<int>{1, 2}));
    }

    void normalsWeighByArea()
    {
        support::FloatMesh surface;
        // A large triangle in the floor and a small one in a wall share vertex 0; vertex 5 belongs
        // to none.
        surface.vertices = {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 1}, {1, 0, 0}, {5, 5, 5}};
        surface.addElement(ElementType::Triangle, {0, 1, 2});
        surface.addElement(ElementType::Triangle, {0, 4, 3});
        surface.recalculateNormals();
        QCOMPARE(surface.normals.size(), 6);
        QCOMPARE(surface.normals.at(1), (Point{0, 0, 1}));
        QCOMPARE(surface.normals.at(4), (Point{0, -1, 0}));
        const Point shared = surface.normals.at(0);
        QVERIFY(qAbs(shared.z / -shared.y - 81.0f) < 0.01f);
        QCOMPARE(surface.normals.at(5), Point{});
    }

    void tetrahedraHaveNoNormals()
    {
        support::FloatMesh volume;
        volume.vertices = support::makeTetrahedronSurface().vertices;
        volume.addElement(ElementType::Tetrahedron, {0, 1, 2, 3});
        volume.recalculateNormals();
        QCOMPARE(volume.normals, QList<Point>(4));
    }
};

QTEST_GUILESS_MAIN(TstMesh)
#include "tst_Mesh.moc"
