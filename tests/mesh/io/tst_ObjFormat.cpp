#include "ThroughBytes.h"

#include <mesh/io/ObjExporter.h>
#include <mesh/io/ObjImporter.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using support::FloatMesh;
using support::ImportOptions;
using support::Point;
using support::put;
using Importer = mesh::io::ObjImporter<float>;
using Exporter = mesh::io::ObjExporter<float>;

namespace {

const QByteArray square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

QList<int> nodesOf(const FloatMesh &surface, int element)
{
    return surface.elements.at(element).nodes.toList();
}

} // namespace

class TstObjFormat : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void facesOfAllFormsAreRead_data()
    {
        QTest::addColumn<QByteArray>("face");
        QTest::addColumn<int>("elements");
        QTest::addColumn<int>("type");
        QTest::addColumn<QList<int>>("lastNodes");
        const int triangle = 20, quad = 22;
        QTest::newRow("triangle") << "f 1 2 3"_ba << 1 << triangle << QList<int>{0, 1, 2};
        QTest::newRow("quad") << "f 1 2 3 4"_ba << 1 << quad << QList<int>{0, 1, 2, 3};
        QTest::newRow("fan of five") << "f 1 2 3 4 1"_ba << 3 << triangle << QList<int>{0, 3, 0};
        QTest::newRow("from the end") << "f -4 -3 -1"_ba << 1 << triangle << QList<int>{0, 1, 3};
        QTest::newRow("two corners") << "f 1 2"_ba << 0 << 0 << QList<int>{};
        QTest::newRow("no corner") << "f"_ba << 0 << 0 << QList<int>{};
        QTest::newRow("tabs and blanks")
            << "\tf  1\t2   3  \t"_ba << 1 << triangle << QList<int>{0, 1, 2};
    }

    void facesOfAllFormsAreRead()
    {
        QFETCH(const QByteArray, face);
        QFETCH(const int, elements);
        QFETCH(const int, type);
        QFETCH(const QList<int>, lastNodes);
        for (const char *lineEnd : {"\n", "\r\n"}) {
            auto text = square + face;
            const auto read = support::readBytes<Importer>(text.replace("\n", lineEnd));
            QVERIFY(read.isOk());
            QCOMPARE(read.value().elements.size(), elements);
            if (elements == 0)
                continue;
            QCOMPARE(int(read.value().elements.last().type), type);
            QCOMPARE(nodesOf(read.value(), elements - 1), lastNodes);
        }
    }

    void badInputIsNamedByItsLine_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QByteArray &lines, const QString &expected) {
            QTest::newRow(name) << lines << expected;
        };
        const QString outside = u"3: Face index %1 out of range at line 5"_s;
        row("index 0", "f 0 1 2", outside.arg(0));
        row("behind the end", "f 1 2 5", outside.arg(5));
        row("before the start", "f -5 2 3", outside.arg(-5));
        row("huge", "f 1 2 99999999999", outside.arg(99999999999));
        row("no texture coordinate", "f 1/1 2/1 3/1", outside.arg(1));
        row("no normal", "f 1//1 2//1 3//1", outside.arg(1));
        const QString invalid = u"3: Invalid face index at line 5"_s;
        row("no number", "f 1 b 3", invalid);
        row("no vertex", "f 1 /1 3", invalid);
        row("beyond 64 bits", "f 1 2 99999999999999999999999", invalid);
        const QString notFinite = u"3: Invalid coordinates (NaN/Inf) at line 5"_s;
        row("nan", "v 0 nan 0", notFinite);
        row("infinite", "v 0 1e99 0", notFinite);
        row("line without end", QByteArray(3 << 20, 'f'), u"3: Line 5 is too long"_s);
        row("missing number", "v 0 0\nf 1 2 3", {});
        row("no numbers", "v a b c\nvn x\nvt\nf 1 2 3", {});
        row("vertex that comes later", "f 1 2 5\nv 5 5 5", {});
        row("unknown words", "# f 1\n\ncurv 0 1\ns off\nbinary \x01\xFF", {});
    }

    void badInputIsNamedByItsLine()
    {
        QFETCH(const QByteArray, lines);
        QFETCH(const QString, expected);
        QCOMPARE(support::readError<Importer>(square + lines), expected);
    }

    void limitsAreKept()
    {
        const ImportOptions few{.maxTriangles = 2};
        QCOMPARE(support::readError<Importer>(square + "f 1 2 3\nf 1 2 3\n", few), QString());
        QCOMPARE(support::readError<Importer>(square + "f 1 2 3 4 1", few),
                 u"9: Triangle count exceeds limit of 2"_s);
        QCOMPARE(support::readError<Importer>(QByteArray("v 0 0 0\n").repeated(7), few),
                 u"9: Vertex count exceeds limit of 6"_s);
    }

    void verticesTakeTheirFirstNormalAndTexCoord()
    {
        const auto read = support::readBytes<Importer>(
            square + "vn 0 0 1\nvn nan 0 0\nvn 1 0 0\nvt 0.25 0.75\nvt 1\n"
                     "f 1/1/1 2/2/2 3//3\nf 1/2/3 3/2/1 4\n");
        QVERIFY(read.isOk());
        const FloatMesh &surface = read.value();
        QCOMPARE(surface.vertices.size(), 4);
        QCOMPARE(surface.normals, (QList<Point>{{0, 0, 1}, {0, 0, 0}, {1, 0, 0}, {0, 0, 0}}));
        QCOMPARE(surface.vertexAttributes[u"texCoordU"_s], (QList<float>{0.25f, 1, 1, 0}));
        QCOMPARE(surface.vertexAttributes[u"texCoordV"_s], (QList<float>{0.75f, 0, 0, 0}));
    }

    void materialsComeFromTheLibraryBeside()
    {
        const QTemporaryDir folder;
        put(folder.filePath(u"a b.mtl"_s),
            "newmtl Steel\r\nkd 0.1 0.2 0.3\nKS 0.3 0.6 0.9\nNs 6\nd 0.25\n"
            "newmtl glass\nTr 0.75\nKd nan 0 0\nKd 1\n");
        put(folder.filePath(u"part.obj"_s),
            "mtllib a b.mtl\nmtllib a b.mtl\no Bracket\n" + square +
                "f 1 2 3\nusemtl glass\nf 1 2 3 4 1\nusemtl Steel\nf 1 2 3\nusemtl glass\nf 1 2 "
                "4\n");
        const auto read = Importer().read(folder.filePath(u"part.obj"_s), {});
        QVERIFY(read.isOk());
        QCOMPARE(read.value().name, u"Bracket"_s);
        QList<int> ids;
        for (const auto &element : read.value().elements)
            ids.append(element.materialId);
        QCOMPARE(ids, (QList<int>{0, 1, 1, 1, 2, 1}));
        const auto names = read.value().metadata.value(u"materialNameToId"_s).toMap();
        QCOMPARE(names, (QVariantMap{{u"default"_s, 0}, {u"glass"_s, 1}, {u"Steel"_s, 2}}));
        const auto materials = read.value().metadata.value(u"materials"_s).toList();
        const QVariantMap steel = materials.at(2).toMap();
        QCOMPARE(steel.value(u"name"_s), u"Steel"_s);
        QCOMPARE(steel.value(u"albedoG"_s), 0.2);
        QCOMPARE(steel.value(u"metallic"_s).toDouble(), 0.6);
        QCOMPARE(steel.value(u"roughness"_s), 0.5);
        QCOMPARE(steel.value(u"alpha"_s), 0.25);
        QCOMPARE(materials.at(1).toMap().value(u"alpha"_s), 0.25);
    }

    void librariesElsewhereAreNotOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("absolute") << QString();
        QTest::newRow("one folder up") << u"../red.mtl"_s;
        QTest::newRow("up by way of down") << u"in/../../red.mtl"_s;
        QTest::newRow("a FIFO, which nobody writes") << u"pipe.mtl"_s;
        QTest::newRow("a folder") << u"."_s;
        QTest::newRow("not there") << u"none.mtl"_s;
    }

    void librariesElsewhereAreNotOpened()
    {
        QFETCH(const QString, name);
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkdir(u"in"_s));
        put(folder.filePath(u"red.mtl"_s), "newmtl red\nKd 1 0 0\n");
        QVERIFY(::mkfifo(qPrintable(folder.filePath(u"in/pipe.mtl"_s)), 0600) == 0);
        const QString library = name.isEmpty() ? folder.filePath(u"red.mtl"_s) : name;
        put(folder.filePath(u"in/part.obj"_s),
            "mtllib " + library.toUtf8() + "\nusemtl red\n" + square + "f 1 2 3\n");
        const auto read = Importer().read(folder.filePath(u"in/part.obj"_s), {});
        QVERIFY(read.isOk());
        const auto red = read.value().metadata.value(u"materials"_s).toList().first().toMap();
        QCOMPARE(red.value(u"albedoR"_s), 0.8);
    }

    void textIsWrittenToTheLetter()
    {
        FloatMesh surface;
        surface.name = u"plate"_s;
        surface.vertices = {{0, 0, 0}, {1, 0, 0}, {1, 0.5f, 0}, {-0.25f, 1, 1e-7f}};
        surface.addElement(ElementType::Quad, {0, 1, 2, 3});
        surface.addElement(ElementType::Line, {0, 1});
        surface.addElement(ElementType::Triangle, {3, 2, 1});
        QCOMPARE(support::writeBytes<Exporter>(surface, {.precision = 2}),
                 "# OBJ file exported by pliskuk\n# Object: plate\n# Vertices: 4\n# Faces: 2\n\n"
                 "v 0.00 0.00 0.00\nv 1.00 0.00 0.00\nv 1.00 0.50 0.00\nv -0.25 1.00 0.00\n"
                 "\n# Faces\nf 1 2 3 4\nf 4 3 2\n");
        surface.normals.fill({0, 0, 1}, 4);
        surface.vertexAttributes[u"texCoordU"_s] = {0, 1, 1, 0};
        surface.vertexAttributes[u"texCoordV"_s] = {0, 0, 1};
        surface.elementAttributes[u"group"_s] = {1, 1, 0};
        surface.metadata[u"groups"_s] = QStringList{u"side"_s};
        QCOMPARE(support::writeBytes<Exporter>(surface,
                                               {.precision = 9, .extras = {{u"precision"_s, 0}}}),
                 "# OBJ file exported by pliskuk\n# Object: plate\n# Vertices: 4\n# Faces: 2\n\n"
                 "v 0 0 0\nv 1 0 0\nv 1 0 0\nv -0 1 0\n"
                 "\n# Texture coordinates\nvt 0 0\nvt 1 0\nvt 1 1\n"
                 "\n# Vertex normals\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\n"
                 "\n# Faces\n\ng group_1\nf 1//1 2//2 3//3 4//4\n\ng side\nf 4//4 3//3 2//2\n");
        surface.elements.removeFirst();
        surface.elementAttributes.clear();
        surface.vertexAttributes[u"texCoordV"_s].append(1);
        QVERIFY(support::writeBytes<Exporter>(surface).endsWith("\nf 4/4/4 3/3/3 2/2/2\n"));
        surface.normals.clear();
        QVERIFY(support::writeBytes<Exporter>(surface).endsWith("\nf 4/4 3/3 2/2\n"));
    }

    void groupsGoThere()
    {
        const QByteArray text =
            square + "f 1 2 3\ng top\nf 1 2 3 4\ng side\nf 1 3 4\ng top\nf 1 2 4\n";
        const auto read = support::readBytes<Importer>(text);
        QCOMPARE(read.value().elementAttributes[u"group"_s], (QList<float>{0, 1, 2, 1}));
        QCOMPARE(read.value().metadata[u"groups"_s],
                 (QStringList{u"default"_s, u"top"_s, u"side"_s}));
        const auto again =
            support::readBytes<Importer>(support::writeBytes<Exporter>(read.value()));
        QCOMPARE(again.value().elementAttributes, read.value().elementAttributes);
        QCOMPARE(again.value().metadata, read.value().metadata);
    }

    void everyBeginningOfAFileIsSurvived()
    {
        support::readAllBeginnings<Importer>(
            square + "vt 0 1\nvn 0 0 1\nusemtl m\ng a\nf 1/1/1 2/1/1 3/1/1 4/1/1 -1/-1/-1\n");
    }
};

QTEST_GUILESS_MAIN(TstObjFormat)
#include "tst_ObjFormat.moc"
