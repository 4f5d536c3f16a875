#include "ThroughBytes.h"

#include <mesh/io/PlyExporter.h>
#include <mesh/io/PlyImporter.h>

#include <QDataStream>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using support::FloatMesh;
using support::ImportOptions;
using support::Point;
using Importer = mesh::io::PlyImporter<float>;
using Exporter = mesh::io::PlyExporter<float>;

namespace {

QByteArray header(const QByteArray &format, const QByteArray &lines)
{
    return "ply\nformat " + format + " 1.0\ncomment made by hand\n" + lines + "end_header\n";
}

const QByteArray points =
    "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const QByteArray face = "element face 1\nproperty list uchar int vertex_indices\n";
const QByteArray fourPoints = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

QByteArray ascii(const QByteArray &elements, const QByteArray &body)
{
    return header("ascii", elements) + body;
}

// A binary file with all that a reader must step over: an element of another name with a list,
// extra properties of every width, doubles for coordinates, a list of another name.
QByteArray richBinary(QDataStream::ByteOrder order)
{
    const QByteArray lines =
        "element extra 2\nproperty list ushort double weights\nproperty int8 tag\n"
        "element vertex 3\nproperty uchar red\nproperty uchar green\n"
        "property uchar blue\nproperty double x\nproperty float64 y\n"
        "property short z\nproperty float nx\nproperty float ny\n"
        "property float nz\nproperty uint32 stamp\n"
        "element face 1\nproperty list int float quality\n"
        "property list uint8 uint16 vertex_index\nproperty char flag\n";
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    out.setByteOrder(order);
    out << quint16(2) << 1.5 << 2.5 << qint8(1) << quint16(0) << qint8(2);
    for (int i = 0; i < 3; ++i) {
        out << quint8(255) << quint8(51) << quint8(0) << double(i) << double(i * i) << qint16(-i);
        out.setFloatingPointPrecision(QDataStream::SinglePrecision);
        out << 0.0f << 1.0f << 0.0f;
        out.setFloatingPointPrecision(QDataStream::DoublePrecision);
        out << quint32(7);
    }
    out << qint32(1);
    out.setFloatingPointPrecision(QDataStream::SinglePrecision);
    out << 0.5f << quint8(3) << quint16(0) << quint16(1) << quint16(2) << qint8(0);
    return header(order == QDataStream::LittleEndian ? "binary_little_endian" : "binary_big_endian",
                  lines) +
           body;
}

} // namespace

class TstPlyFormat : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void facesKeepTheirShape_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("elements");
        QTest::addColumn<int>("type");
        QTest::newRow("triangle") << "3 0 1 2"_ba << 1 << 20;
        QTest::newRow("quad") << "4 0 1 2 3"_ba << 1 << 22;
        QTest::newRow("fan") << "5 0 1 2 3 1"_ba << 3 << 20;
        QTest::newRow("two corners") << "2 0 1"_ba << 0 << 0;
    }

    void facesKeepTheirShape()
    {
        QFETCH(const QByteArray, line);
        QFETCH(const int, elements);
        QFETCH(const int, type);
        auto renamed = face;
        for (const QByteArray &faceLines : {face, renamed.replace("indices", "index")})
            for (const char *lineEnd : {"\n", "\r\n"}) {
                auto text = ascii(points + faceLines, fourPoints + line);
                const auto read = support::readBytes<Importer>(text.replace("\n", lineEnd));
                QVERIFY(read.isOk());
                QCOMPARE(read.value().vertices.size(), 4);
                QCOMPARE(read.value().elements.size(), elements);
                if (elements > 0)
                    QCOMPARE(int(read.value().elements.last().type), type);
            }
    }

    void binaryOfBothOrdersSkipsWhatItDoesNotKnow_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("little-endian") << richBinary(QDataStream::LittleEndian);
        QTest::newRow("big-endian") << richBinary(QDataStream::BigEndian);
    }

    void binaryOfBothOrdersSkipsWhatItDoesNotKnow()
    {
        QFETCH(const QByteArray, bytes);
        QCOMPARE(support::readError<Importer>(bytes), QString());
        const auto read = support::readBytes<Importer>(bytes);
        QCOMPARE(read.value().vertices, (QList<Point>{{0, 0, 0}, {1, 1, -1}, {2, 4, -2}}));
        QCOMPARE(read.value().normals, QList<Point>(3, {0, 1, 0}));
        QCOMPARE(read.value().vertexAttributes[u"color_g"_s], QList<float>(3, 0.2f));
        QVERIFY(!read.value().vertexAttributes.contains(u"color_a"_s));
        QCOMPARE(read.value().elements.first().nodes.toList(), (QList<int>{0, 1, 2}));
        support::readAllBeginnings<Importer>(bytes);
    }

    void textWithMoreThanIsKnown()
    {
        const auto read = support::readBytes<Importer>(
            ascii("element face 1\nproperty list uchar int vertex_indices\nproperty int flags\n"
                  "element edge 2\nproperty int a\nproperty int b\n"
                  "element vertex 3\nproperty float s\nproperty float t\nproperty float x\n"
                  "property float y\nproperty float z\nproperty float red\n",
                  "3 0 1 2 99\n0 1\n1 2\n0.5 0.25 0 0 0 0.75\n\n 0 1 1e0 +0 0 nan\n0 0 0 1 0 1\n"));
        QVERIFY(read.isOk()); // faces ahead of vertices too
        QCOMPARE(read.value().vertexAttributes[u"texCoordU"_s], (QList<float>{0.5f, 0, 0}));
        QCOMPARE(read.value().vertexAttributes[u"texCoordV"_s], (QList<float>{0.25f, 1, 0}));
        QCOMPARE(read.value().vertexAttributes[u"color_r"_s], (QList<float>{0.75f, 0, 1}));
        QCOMPARE(read.value().elements.size(), 1);
    }

    void badInputIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, const QString &expected) {
            QTest::newRow(name) << bytes << expected;
        };
        const QByteArray good = ascii(points + face, fourPoints + "3 0 1 2\n");
        const auto changed = [&](const char *from, const char *to) {
            auto text = good;
            return text.replace(from, to);
        };
        row("good", good, {});
        row("counts of nothing cost nothing",
            changed("element face", "element void 9000000000000000000\nelement face"), {});
        row("empty", {}, u"3: Missing end_header"_s);
        row("no end of the header", good.left(60), u"3: Missing end_header"_s);
        row("the end within a comment", "ply\ncomment end_header\n", u"3: Missing end_header"_s);
        row("another magic", "plywood\nend_header\n", u"3: Not a PLY file"_s);
        row("no format", "ply\nend_header\n", u"3: PLY file has no format line"_s);
        row("another format", changed("ascii", "utf8"), u"3: Unsupported PLY format: utf8"_s);
        row("no vertices", header("ascii", face),
            u"3: PLY file missing vertex position properties"_s);
        row("no z", changed("property float z\n", ""),
            u"3: PLY file missing vertex position properties"_s);
        row("negative count", changed("vertex 4", "vertex -4"),
            u"3: Invalid PLY header line: element vertex -4"_s);
        row("unknown type", changed("float x", "half x"),
            u"3: Invalid PLY header line: property half x"_s);
        row("list length of a fraction", changed("list uchar", "list float"),
            u"3: Invalid PLY header line: property list float int vertex_indices"_s);
        row("property of nothing", "ply\nformat ascii 1.0\nproperty int a\nend_header\n",
            u"3: Invalid PLY header line: property int a"_s);
        row("element twice", changed("element face", "element vertex"),
            u"3: Invalid PLY header line: element vertex 1"_s);
        row("more vertices than bytes", changed("vertex 4", "vertex 20000000"),
            u"6: PLY element 'vertex' promises 20000000 records, more than the file holds"_s);
        row("more faces than bytes", changed("face 1", "face 20000000"),
            u"6: PLY element 'face' promises 20000000 records, more than the file holds"_s);
        row("more vertices than allowed", changed("vertex 4", "vertex 9000000000000000000"),
            u"9: Vertex count 9000000000000000000 exceeds limit of 150000000"_s);
        row("more faces than allowed", changed("face 1", "face 50000001"),
            u"9: Triangle count 50000001 exceeds limit of 50000000"_s);
        row("a word for a number", changed("1 1 0", "1 one 0"),
            u"3: Invalid vertex data at line 13"_s);
        row("nan", changed("1 1 0", "1 nan 0"), u"3: Invalid vertex data at line 13"_s);
        row("too few numbers", changed("1 1 0", "1 1"), u"3: Invalid vertex data at line 13"_s);
        row("index out of range", changed("3 0 1 2", "3 0 1 4"),
            u"3: Invalid face data at index 0"_s);
        row("negative index", changed("3 0 1 2", "3 0 1 -1"), u"3: Invalid face data at index 0"_s);
        row("index between", changed("3 0 1 2", "3 0 1 1.5"), u"3: Invalid face data at index 0"_s);
        row("list longer than its line", changed("3 0 1 2", "9 0 1 2"),
            u"3: Invalid face data at index 0"_s);
        row("negative list", changed("3 0 1 2", "-3 0 1 2"), u"3: Invalid face data at index 0"_s);
        row("no face line", good.chopped(8) + "        ", u"3: Invalid face data at index 0"_s);
        const QByteArray binaryFace =
            header("binary_little_endian",
                   "element vertex 1\nproperty char x\nproperty char y\nproperty char z\n"
                   "element face 1\nproperty list uint int vertex_index\n");
        row("binary list of four billion",
            binaryFace + QByteArray("\0\0\0\xff\xff\xff\xff\0\0\0\0", 11),
            u"3: Invalid face data at index 0"_s);
        row("binary cut in a face", binaryFace + QByteArray("\0\0\0\1\0\0\0\0", 8),
            u"3: Invalid face data at index 0"_s);
        row("binary nan",
            header("binary_big_endian", points).replace("vertex 4", "vertex 1") +
                QByteArray("\x7f\xc0\0\0\0\0\0\0\0\0\0\0", 12),
            u"3: Invalid coordinates (NaN/Inf) at vertex 0"_s);
    }

    void badInputIsRefused()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, expected);
        QCOMPARE(support::readError<Importer>(bytes), expected);
    }

    void fansCountTowardsTheLimit()
    {
        QCOMPARE(support::readError<Importer>(ascii(points + face, fourPoints + "6 0 1 2 3 1 2\n"),
                                              {.maxTriangles = 3}),
                 u"9: Triangle count exceeds limit of 3"_s);
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
        FloatMesh surface = support::makeSphere(1.5f, 10, 14);
        surface.addElement(ElementType::Quad, {0, 1, 2, 3});
        surface.recalculateNormals();
        const qsizetype count = surface.vertices.size();
        for (const QString &name : {u"color_r"_s, u"color_g"_s, u"color_b"_s, u"color_a"_s})
            surface.vertexAttributes[name] = QList<float>(count, 0.2f);
        const auto bytes =
            support::writeBytes<Exporter>(surface, {.binary = binary, .precision = 9});
        const auto read = support::readBytes<Importer>(bytes);
        QVERIFY(read.isOk());
        QCOMPARE(read.value().vertices, surface.vertices);
        QCOMPARE(read.value().normals, surface.normals);
        QCOMPARE(read.value().vertexAttributes, surface.vertexAttributes);
        QCOMPARE(read.value().elements, surface.elements);
    }

    void textIsWrittenToTheLetter()
    {
        FloatMesh surface;
        surface.name = u"two\nlines"_s;
        surface.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 0.5f, 0}};
        surface.addElement(ElementType::Triangle, {0, 1, 2});
        surface.addElement(ElementType::Line, {0, 1});
        surface.vertexAttributes[u"color_r"_s] = {0, 2, 0.5f};
        surface.vertexAttributes[u"color_g"_s] = {-1, 1, float(qQNaN())};
        surface.vertexAttributes[u"color_b"_s] = {0, 0, 0};
        surface.metadata[u"materials"_s] = QVariantList{
            QVariantMap{{u"name"_s, u"steel"_s}, {u"albedoR"_s, 0.5}, {u"roughness"_s, 0.25}}};
        QCOMPARE(support::writeBytes<Exporter>(surface, {.binary = false}),
                 "ply\nformat ascii 1.0\ncomment Exported by pliskuk\ncomment Object: two lines\n"
                 "comment material properties (name, albedo, metallic, roughness, emission)\n"
                 "comment material steel 0.5 0 0 0 0.25 0\n"
                 "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                 "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                 "property uchar alpha\n"
                 "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
                 "0 0 0 0 0 0 255\n1 0 0 255 255 0 255\n0 0.5 0 128 0 0 255\n3 0 1 2\n");
        QCOMPARE(support::writeBytes<Exporter>(surface, {.extras = {{u"binary"_s, false}}}),
                 support::writeBytes<Exporter>(surface, {.binary = false}));
    }
};

QTEST_GUILESS_MAIN(TstPlyFormat)
#include "tst_PlyFormat.moc"
