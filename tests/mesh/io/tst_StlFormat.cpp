#include "ThroughBytes.h"

#include <mesh/io/StlExporter.h>
#include <mesh/io/StlImporter.h>

#include <QRegularExpression>
#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;
using support::FloatMesh;
using support::ImportOptions;
using Importer = mesh::io::StlImporter<float>;
using Exporter = mesh::io::StlExporter<float>;

namespace {

// A binary file whose parts need not fit each other.
QByteArray binaryStl(const QByteArray &header, quint32 count, int heldTriangles, int trailing = 0)
{
    QByteArray bytes = header.leftJustified(80, '\0', true);
    bytes.resize(84);
    qToLittleEndian(count, bytes.data() + 80);
    for (int i = 0; i < heldTriangles; ++i) {
        QByteArray record(50, '\0');
        const float corners[9] = {0, 0, float(i), 1, 0, float(i), 0, 1, float(i)};
        for (int k = 0; k < 9; ++k)
            qToLittleEndian(corners[k], record.data() + 12 + 4 * k);
        bytes += record;
    }
    return bytes + QByteArray(trailing, 'x');
}

const QByteArray oneFacet = "solid part one\n"
                            "  facet normal 0 0 1\n    outer loop\n"
                            "      vertex 0 0 0\n      vertex 1 0 0\n      vertex 0 1 0\n"
                            "    endloop\n  endfacet\n"
                            "endsolid part one\n";

QByteArray changed(const QByteArray &from, const QByteArray &to)
{
    QByteArray text = oneFacet;
    return text.replace(from, to);
}

} // namespace

class TstStlFormat : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void theFormIsToldFromSizeAndHeader_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("triangles"); // -1 for an error
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, int triangles,
                            const QString &expected) {
            QTest::newRow(name) << bytes << triangles << expected;
        };
        const QString unknown = u"3: Cannot determine STL format"_s;
        const QString small = u"3: File too small and not valid ASCII STL"_s;
        row("binary", binaryStl("thing", 2, 2), 2, u"thing"_s);
        row("binary that begins with solid", binaryStl("solid thing", 2, 2), 2, u"solid thing"_s);
        row("empty binary", binaryStl("nothing", 0, 0), 0, u"nothing"_s);
        row("1000 bytes behind", binaryStl("thing", 1, 1, 1000), 1, u"thing"_s);
        row("1001 bytes behind", binaryStl("thing", 1, 1, 1001), -1, unknown);
        row("no triangles and bytes behind", binaryStl("thing", 0, 0, 10), -1, unknown);
        row("cut", binaryStl("thing", 3, 2), -1, u"6: Unexpected end of file at triangle 2 of 3"_s);
        row("promises half a billion", binaryStl("thing", 499'999'999, 2), -1,
            u"9: Triangle count 499999999 exceeds limit of 50000000"_s);
        row("promises fifty million", binaryStl("thing", 50'000'000, 2), -1,
            u"6: Unexpected end of file at triangle 2 of 50000000"_s);
        row("promises too many to be one", binaryStl("thing", 500'000'000, 2), -1, unknown);
        row("text", oneFacet, 1, u"part one"_s);
        row("text below 84 bytes", "solid a\nendsolid a\n", 0, u"a"_s);
        row("small and no text", "not a mesh", -1, small);
        row("nothing", {}, -1, small);
    }

    void theFormIsToldFromSizeAndHeader()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const int, triangles);
        QFETCH(const QString, expected);
        const auto read = support::readBytes<Importer>(bytes);
        if (triangles < 0) {
            QCOMPARE(support::readError<Importer>(bytes), expected);
        } else {
            QVERIFY2(read.isOk(), qPrintable(support::readError<Importer>(bytes)));
            QCOMPARE(read.value().elements.size(), triangles);
            QCOMPARE(read.value().name, expected);
        }
    }

    void textIsReadByItsGrammar_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, const QString &expected) {
            QTest::newRow(name) << bytes << expected;
        };
        row("as it should be", oneFacet, {});
        row("CR LF", changed("\n", "\r\n"), {});
        row("no line end at the end", oneFacet.chopped(1), {});
        row("blank lines and tabs", changed("\n", "\n\n \t\n"), {});
        row("capitals", oneFacet.toUpper(), {});
        row("glued exponent and sign", changed("vertex 1 0 0", "vertex +1.0E+0 -0. .0e5"), {});
        row("normal that is none", changed("normal 0 0 1", "normal nan -nan inf"), {});
        row("no endsolid", oneFacet.left(oneFacet.indexOf("endsolid")), {});
        row("two solids", oneFacet + oneFacet, {});
        row("number too small for a float", changed("vertex 1 0 0", "vertex 1 1e-60 1e-999"), {});
        row("other word", changed("  facet normal", "  face normal"),
            u"3: Expected 'facet' or 'endsolid' at line 2"_s);
        row("no normal", changed("normal 0 0 1", "normal 0 0"),
            u"3: Expected 'facet' or 'endsolid' at line 2"_s);
        row("no loop", changed("outer loop", "outerloop"), u"3: Expected 'outer loop' at line 3"_s);
        row("two corners", changed("      vertex 0 1 0\n", ""),
            u"3: Expected 'vertex' at line 6"_s);
        row("four corners", changed("    endloop", "vertex 1 1 1\n    endloop"),
            u"3: Expected 'endloop' at line 7"_s);
        row("loop not ended", changed("  endfacet\n", ""), u"3: Expected 'endfacet' at line 8"_s);
        row("a word for a number", changed("vertex 1 0 0", "vertex 1 0 x"),
            u"3: Invalid vertex at line 5"_s);
        row("a number missing", changed("vertex 1 0 0", "vertex 1 0"),
            u"3: Invalid vertex at line 5"_s);
        row("nan", changed("vertex 1 0 0", "vertex 1 nan 0"),
            u"3: Invalid coordinates (NaN/Inf) at line 5"_s);
        row("number too large", changed("vertex 1 0 0", "vertex 1 0 1e39"),
            u"3: Invalid coordinates (NaN/Inf) at line 5"_s);
        row("cut in a facet", oneFacet.left(oneFacet.indexOf("    endloop")),
            u"6: Unexpected end of file at line 6"_s);
        row("a line without end", "solid x\n" + QByteArray(3 << 20, 'y'),
            u"3: Line 2 is too long"_s);
    }

    void textIsReadByItsGrammar()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, expected);
        QCOMPARE(support::readError<Importer>(bytes), expected);
    }

    void coordinatesThatAreNoNumbersNameTheirTriangle()
    {
        QByteArray bytes = binaryStl("thing", 3, 3);
        qToLittleEndian(std::numeric_limits<float>::quiet_NaN(), bytes.data() + 84); // a normal
        QCOMPARE(support::readError<Importer>(bytes), QString());
        qToLittleEndian(std::numeric_limits<float>::infinity(), bytes.data() + 84 + 50 + 12);
        QCOMPARE(support::readError<Importer>(bytes),
                 u"3: Invalid coordinates (NaN/Inf) at triangle 1"_s);
    }

    void limitsAreKept()
    {
        const ImportOptions few{.maxTriangles = 2};
        QCOMPARE(support::readError<Importer>(binaryStl("thing", 2, 2), few), QString());
        QCOMPARE(support::readError<Importer>(binaryStl("thing", 3, 3), few),
                 u"9: Triangle count 3 exceeds limit of 2"_s);
        QByteArray facet = oneFacet.mid(oneFacet.indexOf("  facet"));
        facet.truncate(facet.indexOf("endsolid"));
        QCOMPARE(support::readError<Importer>("solid x\n" + facet.repeated(3), few),
                 u"9: Triangle count exceeds limit of 2"_s);
        QCOMPARE(
            support::readError<Importer>("solid x\n" + facet.repeated(9), few),
            u"9: Estimated %1 triangles exceeds limit of 2"_s.arg((8 + 9 * facet.size()) / 200));
    }

    void whatIsWrittenReadsBack_data()
    {
        QTest::addColumn<bool>("binary");
        QTest::newRow("binary") << true;
        QTest::newRow("text") << false;
    }

    void whatIsWrittenReadsBack()
    {
        QFETCH(const bool, binary);
        const FloatMesh sphere = support::makeSphere(2, 12, 16);
        const auto bytes = support::writeBytes<Exporter>(
            sphere, {.binary = binary, .precision = 9, .name = u"ball"_s});
        const auto read = support::readBytes<Importer>(bytes);
        QVERIFY(read.isOk());
        QCOMPARE(read.value().name, u"ball"_s);
        QCOMPARE(read.value().elements.size(), sphere.elements.size());
        QCOMPARE(read.value().vertices.size(), sphere.vertices.size());
        QVERIFY(support::isClosedManifold(read.value()));
        QCOMPARE(support::signedVolume(read.value()), support::signedVolume(sphere));
        const auto loose = support::readBytes<Importer>(
            bytes, {.recalculateNormals = true, .mergeVertices = false});
        QCOMPARE(loose.value().vertices.size(), 3 * sphere.elements.size());
        QCOMPARE(loose.value().normals.size(), loose.value().vertices.size());
    }

    void bytesAreTheFormatsOwn()
    {
        FloatMesh surface = support::makeTetrahedronSurface();
        surface.addElement(mesh::ElementType::Quad, {0, 1, 2, 3});     // not a triangle
        surface.addElement(mesh::ElementType::Triangle, {0, 1, 2, 3}); // of four nodes
        surface.addElement(mesh::ElementType::Triangle, {1, 1, 1});    // without a normal
        const auto bytes = support::writeBytes<Exporter>(surface);
        QCOMPARE(bytes.size(), 84 + 5 * 50);
        QCOMPARE(bytes.left(80), "STL binary file"_ba.leftJustified(80, '\0'));
        QCOMPARE(qFromLittleEndian<quint32>(bytes.constData() + 80), 5u);
        QCOMPARE(qFromLittleEndian<float>(bytes.constData() + 84 + 8), -1.0f); // first normal's z
        QCOMPARE(bytes.mid(84 + 4 * 50, 12), QByteArray(12, '\0'));
        const auto text = support::writeBytes<Exporter>(surface, {.binary = false});
        QVERIFY(text.startsWith("solid mesh\n  facet normal 0 0 -1\n    outer loop\n"
                                "      vertex 0 0 0\n      vertex 0 1 0\n      vertex 1 0 0\n"
                                "    endloop\n  endfacet\n"));
        QVERIFY(text.endsWith("endsolid mesh\n"));
        const auto viaExtra =
            support::writeBytes<Exporter>(surface, {.extras = {{u"binary"_s, false}}});
        QCOMPARE(viaExtra, text);
    }

    void tinyAndHugeTrianglesHaveNormals_data()
    {
        QTest::addColumn<float>("size");
        QTest::newRow("tiny") << 1e-18f;
        QTest::newRow("huge") << 1e18f;
    }

    void tinyAndHugeTrianglesHaveNormals()
    {
        QFETCH(const float, size);
        FloatMesh surface;
        surface.vertices = {{0, 0, 0}, {size, 0, 0}, {0, size, 0}};
        surface.addElement(mesh::ElementType::Triangle, {0, 1, 2});
        const auto bytes = support::writeBytes<Exporter>(surface);
        QCOMPARE(qFromLittleEndian<float>(bytes.constData() + 84 + 8), 1.0f);
    }

    void longAndForeignNamesAreCut()
    {
        FloatMesh surface = support::makeCube();
        surface.name = QString(200, u'n');
        const auto bytes = support::writeBytes<Exporter>(surface);
        QCOMPARE(bytes.left(80), QByteArray(80, 'n'));
        QCOMPARE(support::readBytes<Importer>(bytes).value().name, QString(80, u'n'));
        surface.name = u"two\nlines"_s;
        const auto text = support::writeBytes<Exporter>(surface, {.binary = false});
        QVERIFY(text.startsWith("solid two lines\n"));
    }

    void everyBeginningOfAFileIsSurvived()
    {
        support::readAllBeginnings<Importer>(binaryStl("thing", 3, 3));
        support::readAllBeginnings<Importer>(oneFacet);
    }
};

QTEST_GUILESS_MAIN(TstStlFormat)
#include "tst_StlFormat.moc"
