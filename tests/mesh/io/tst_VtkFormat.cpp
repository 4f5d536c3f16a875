#include "ThroughBytes.h"

#include <mesh/io/VtkExporter.h>
#include <mesh/io/VtkImporter.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using support::FloatMesh;
using Importer = mesh::io::VtkImporter<float>;
using Exporter = mesh::io::VtkExporter<float>;

namespace {

const QByteArray good = "# vtk DataFile Version 3.0\nPOINTS and CELLS of a part\nASCII\n"
                        "DATASET UNSTRUCTURED_GRID\nPOINTS 4 float\n0 0 0 1 0 0\n0 1 0 0 0 1\n"
                        "CELLS 2 9\n4 0 1 2 3\n3 0 1 2\nCELL_TYPES 2\n10 5\n"
                        "POINT_DATA 4\nSCALARS CELLS float 1\nLOOKUP_TABLE default\n1 2 3 4\n";

QByteArray changed(const QByteArray &from, const QByteArray &to)
{
    QByteArray text = good;
    return text.replace(from, to);
}

} // namespace

class TstVtkFormat : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void cellsAreRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QList<int>>("types");
        const QList<int> both = {30, 20};
        QTest::newRow("as written") << good << both;
        QTest::newRow("CR LF") << changed("\n", "\r\n") << both;
        QTest::newRow("everything on one line")
            << "DATASET UNSTRUCTURED_GRID POINTS 1 float 0 0 0 CELLS 1 2 1 0 CELL_TYPES 1 1"_ba
            << QList<int>{0};
        QTest::newRow("types first")
            << changed("CELLS 2 9\n4 0 1 2 3\n3 0 1 2\nCELL_TYPES 2\n10 5\n",
                       "CELL_TYPES 2\n10 5\nCELLS 2 9\n4 0 1 2 3\n3 0 1 2\n")
            << both;
        QTest::newRow("unknown type is skipped") << changed("10 5", "7 5") << QList<int>{20};
        QTest::newRow("metadata between")
            << changed("CELLS 2 9", "METADATA\nINFORMATION 0\n\nCELLS 2 9") << both;
        QTest::newRow("points only") << good.left(good.indexOf("CELLS 2 9")) << QList<int>{};
    }

    void cellsAreRead()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QList<int>, types);
        QCOMPARE(support::readError<Importer>(bytes), QString());
        const auto read = support::readBytes<Importer>(bytes);
        QCOMPARE(read.value().name, u"VTK Import"_s);
        QList<int> found;
        for (const auto &element : read.value().elements)
            found.append(int(element.type));
        QCOMPARE(found, types);
        support::readAllBeginnings<Importer>(bytes);
    }

    void badInputIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, const QString &expected) {
            QTest::newRow(name) << bytes << expected;
        };
        const QString notAGrid = u"3: Only VTK legacy UNSTRUCTURED_GRID is supported"_s;
        row("empty", {}, notAGrid);
        row("another dataset", changed("UNSTRUCTURED_GRID", "POLYDATA"), notAGrid);
        row("garbage without end", QByteArray(3 << 20, '\x01'), notAGrid);
        row("binary", changed("ASCII", "BINARY"), u"3: Binary VTK files are not supported"_s);
        row("no points", changed("POINTS 4 float\n0 0 0 1 0 0\n0 1 0 0 0 1\n", ""),
            u"3: VTK file has no POINTS"_s);
        row("points twice", changed("CELLS 2 9", "POINTS 0 float CELLS 2 9"),
            u"3: VTK file has more than one POINTS section"_s);
        row("negative count", changed("POINTS 4", "POINTS -4"), u"3: Invalid POINTS count"_s);
        row("count that is none", changed("POINTS 4", "POINTS 4.5"), u"3: Invalid POINTS count"_s);
        row("more points than bytes", changed("POINTS 4", "POINTS 40000000"),
            u"6: POINTS count 40000000 is more than the file holds"_s);
        row("more points than allowed", changed("POINTS 4", "POINTS 9000000000000000000"),
            u"9: POINTS count 9000000000000000000 exceeds limit of 150000000"_s);
        row("nan", changed("0 1 0 0 0 1", "0 1 nan 0 0 1"),
            u"3: Invalid coordinates (NaN/Inf) at point 2"_s);
        row("a word for a number", changed("0 1 0 0 0 1", "0 1 x 0 0 1"),
            u"3: Invalid coordinates at point 2"_s);
        row("fewer points", changed("POINTS 4", "POINTS 5"),
            u"3: Invalid coordinates at point 4"_s);
        row("more cells than bytes", changed("CELLS 2 9", "CELLS 2 900000000"),
            u"6: CELLS count 2 is more than the file holds"_s);
        row("size below count", changed("CELLS 2 9", "CELLS 2 1"), u"3: Invalid CELLS size"_s);
        row("cell beyond the size", changed("CELLS 2 9", "CELLS 2 8"),
            u"3: Invalid cell data at index 1"_s);
        row("negative cell", changed("4 0 1 2 3", "-4 0 1 2 3"),
            u"3: Invalid cell data at index 0"_s);
        row("index out of range", changed("3 0 1 2", "3 0 1 4"),
            u"3: Invalid cell data at index 1"_s);
        row("negative index", changed("3 0 1 2", "3 0 -1 2"), u"3: Invalid cell data at index 1"_s);
        row("nodes that do not fit the type", changed("10 5", "10 9"),
            u"3: Cell 1 has 3 nodes, its type needs 4"_s);
        row("fewer types than cells", changed("CELL_TYPES 2\n10 5", "CELL_TYPES 1\n10"),
            u"3: VTK file has 2 cells, but 1 cell types"_s);
        row("a word for a type", changed("10 5", "10 x"), u"3: Invalid cell type at index 1"_s);
    }

    void badInputIsRefused()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, expected);
        QCOMPARE(support::readError<Importer>(bytes), expected);
    }

    void everyElementTypeGoesThere()
    {
        FloatMesh mixture = support::makeSphere(1, 4, 10);
        for (const int cell : {1, 3, 21, 5, 22, 9, 23, 28, 10, 24, 12, 25, 29, 13, 14}) {
            const ElementType type = *mesh::elementTypeOfVtkCell(cell);
            mesh::NodeList nodes;
            for (int i = 0; i < mesh::nodeCount(type); ++i)
                nodes.append(i);
            mixture.addElement(type, nodes);
        }
        const auto bytes = support::writeBytes<Exporter>(mixture, {.precision = 9});
        const auto read = support::readBytes<Importer>(bytes);
        QVERIFY2(read.isOk(), qPrintable(support::readError<Importer>(bytes)));
        QCOMPARE(read.value().vertices, mixture.vertices);
        QCOMPARE(read.value().elements, mixture.elements);
    }

    void textIsWrittenToTheLetter()
    {
        FloatMesh volume;
        volume.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0.5f}};
        volume.addElement(ElementType::Tetrahedron, {0, 1, 2, 3});
        volume.addElement(ElementType(99), {0});
        const QByteArray geometry = "\nPOINTS 4 float\n0 0 0\n1 0 0\n0 1 0\n0 0 0.5\n"
                                    "\nCELLS 2 7\n4 0 1 2 3\n1 0\n\nCELL_TYPES 2\n10\n0\n";
        QCOMPARE(support::writeBytes<Exporter>(volume),
                 "# vtk DataFile Version 3.0\nMesh Export\nASCII\nDATASET UNSTRUCTURED_GRID\n" +
                     geometry);
        volume.name = u"part 1"_s;
        volume.normals.fill({0, 0, 1}, 4);
        volume.vertexAttributes[u"wall \tthickness"_s] = {1, 2, 3, 4};
        volume.vertexAttributes[u"flow"_s] = {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        volume.vertexAttributes[u"odd"_s] = {1, 2};
        volume.elementAttributes[u"group"_s] = {7, 8};
        QCOMPARE(support::writeBytes<Exporter>(volume),
                 "# vtk DataFile Version 3.0\npart 1\nASCII\nDATASET UNSTRUCTURED_GRID\n" +
                     geometry +
                     "\nPOINT_DATA 4\nNORMALS normals float\n0 0 1\n0 0 1\n0 0 1\n0 0 1\n"
                     "VECTORS flow float\n1 2 3\n0 0 0\n0 0 0\n0 0 0\n"
                     "SCALARS wall__thickness float 1\nLOOKUP_TABLE default\n1\n2\n3\n4\n"
                     "\nCELL_DATA 2\nSCALARS group float 1\nLOOKUP_TABLE default\n7\n8\n");
        QCOMPARE(support::readError<Importer>(support::writeBytes<Exporter>(volume)), QString());
    }
};

QTEST_GUILESS_MAIN(TstVtkFormat)
#include "tst_VtkFormat.moc"
