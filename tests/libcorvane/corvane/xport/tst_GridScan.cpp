// What an export tells of walls, pieces and holes that its cells are too coarse for.

#include <support/ExportRun.h>

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::xport;

namespace {

const QString wall = u"mesh, near \\(%1\\): walls down to %2 are thinner than two cells of 0.2. "
                     "Use a cellSize of at most %3, or thicker walls."_s;
const QString anywhere = u"[-0-9., ]+"_s;

/// A sphere of 2 and a term that has no value in a part of space.
void addSphereWith(const QString &id, const QString &term)
{
    support::addShape(
        id, u"float sdf_%1(vec3 p) { return length(p) - 2.0 + 0.0 * %2; }"_s.arg(id, term));
}

} // namespace

class TstGridScan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void whatIsTooFineIsTold_data();
    void whatIsTooFineIsTold();
};

void TstGridScan::initTestCase()
{
    qputenv("PATH", "/nowhere"); // a C++ compiler takes longer than any of these exports
    addSphereWith(u"test_hole"_s, u"sqrt(p.x + 1.0)"_s);
    addSphereWith(u"test_far"_s, u"sqrt(2.7 - p.x)"_s);
    // So slow that intervals are given up before they find the rod.
    support::addShape(u"test_rod"_s,
                      u"float sdf_test_rod(vec3 p) { float d = length(p.xz - vec2(1.3, 0.9)) - "
                      "0.5;\nfor (int i = 0; i < 200; i++) d += 0.0 * sin(d);\n"
                      "return max(d, p.y - 3.5); }"_s);
}

void TstGridScan::whatIsTooFineIsTold_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("told"); // an expression; nothing for nothing
    const auto row = [](const char *name, const QString &scene, const QString &told) {
        QTest::newRow(name) << scene << told;
    };
    row("sphere", u"(sphere 2)"_s, QString());
    row("sphere whose crest is a node", u"(sphere 2.01)"_s, QString());
    row("box whose faces are planes of nodes", u"(box 1 2 1)"_s, QString());
    row("edges of a turned box", u"(rotate 20 35 10 (box 1 2 1))"_s, QString());
    row("wedges", u"(intersect (sphere 2.5) (translate 0 4 0 (sphere 4.5)))"_s, QString());
    row("wall of two cells", u"(box 2 0.2 2)"_s, QString());
    row("wall of one cell and a half", u"(box 2 0.15 2)"_s,
        wall.arg(anywhere, u"0.3"_s, u"0.15"_s));
    row("wall of half a cell, turned", u"(rotate 20 35 10 (box 2 0.05 2))"_s,
        wall.arg(anywhere, u"0.1"_s, u"0.05"_s));
    row("wall between the nodes", u"(union (sphere 1) (translate 0 0.07 0 (box 2 0.01 2)))"_s,
        wall.arg(u"[-0-9.]+, 0.07, [-0-9.]+"_s, u"0.02"_s, u"0.01"_s));
    row("shell", u"(onion 0.12 (sphere 2))"_s, wall.arg(anywhere, u"0.24"_s, u"0.12"_s));
    row("gap, which is no wall", u"(subtract (box 2 2 2) (box 3 0.05 3))"_s, QString());
    const QString dot = u"(translate 2 0.03 0 (sphere 0.15))"_s;
    row("piece", u"(union (sphere 1) "_s + dot + u')',
        u"mesh, near \\(2, 0, 0\\): a piece is smaller than two cells of 0.2. Use a cellSize of at "
        "most 0.1[45], or remove it from the scene."_s);
    row("pieces, one of them about a corner of chunks",
        u"(union (sphere 1) (translate -1.45 -1.35 1.77 (sphere 0.19)) "_s + dot + u')',
        u"mesh, near \\(2, 0, 0\\): 2 pieces are .*at most 0.1[45], or remove them .*"_s);
    row("piece on a larger one", u"(union (sphere 1) (translate 1.1 0 0 (sphere 0.15)))"_s,
        QString());
    row("values end in the solid", u"(test_hole)"_s,
        u"mesh, near \\(-1.2, -0.6, -1.6\\): the field has no value at \\d+ of the sampled "
        "points, which are taken as outside. Keep the definitions from .*"_s);
    row("values end far away", u"(test_far)"_s, QString());
    row("cut that only the samples show", u"(test_rod)"_s,
        u"export box: the surface is cut off at maxY \\(the part goes on to at least y = 3.*, the "
        "box ends at 3\\), minY \\(no end of the part is in sight, the box ends at -3\\). Set .*"_s);
}

struct Way
{
    int chunkSize = 64;
    int threads = 1;
    int extractor = 0;
    int algorithm = 0;
};

/// The same for any division of the grid, any extractor, and of a volume.
void TstGridScan::whatIsTooFineIsTold()
{
    QFETCH(QString, scene);
    QFETCH(QString, told);
    const QTemporaryDir folder;
    QList<corvane::model::SceneWarning> first;
    for (const Way &way : {Way{}, Way{.chunkSize = 7, .threads = 4},
                           Way{.chunkSize = 8, .threads = 3, .extractor = 1}, Way{.extractor = 2},
                           Way{.algorithm = 1}, Way{.threads = 3, .algorithm = 1}}) {
        const QString name = way.algorithm == 1 ? u"out.vtk"_s : u"out.stl"_s;
        auto request = support::requestFor(scene, folder.filePath(name), 0.2f);
        request.chunkSize = way.chunkSize;
        request.threadCount = way.threads;
        request.extractor = way.extractor;
        request.algorithm = way.algorithm;
        const ExportResult result = support::exported(request);
        QVERIFY2(result.success, qPrintable(result.errorMessage));
        QStringList texts;
        for (const auto &warning : result.warnings)
            texts.append(warning.toString());
        const QString text = texts.join(u'\n');
        const QRegularExpression expected(told.isEmpty() ? u"^$"_s : u"^Warning: "_s + told + u'$');
        QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
        if (first.isEmpty())
            first = result.warnings;
        if (way.extractor == 2)
            continue; // its grid has more nodes, beyond the box
        QVERIFY2(result.warnings == first, qPrintable(text));
    }
}

QTEST_GUILESS_MAIN(TstGridScan)
#include "tst_GridScan.moc"
