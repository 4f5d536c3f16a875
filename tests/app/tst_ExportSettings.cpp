#include "app/Program.h"

#include <mesh/io/MeshLoader.h>
#include <support/MeshChecks.h>

using namespace Qt::StringLiterals;

/// What a scene's "export." settings ask for is what `corvane export` does.
class TstExportSettings : public QObject
{
    Q_OBJECT

private slots:
    void settingsShapeTheMesh_data();
    void settingsShapeTheMesh();

private:
    ProgramRun exportWith(const QByteArray &settings) const;
    QString output() const { return m_folder.filePath(u"out.stl"_s); }

    QTemporaryDir m_folder;
};

// A post that pokes through the box at its ends.
ProgramRun TstExportSettings::exportWith(const QByteArray &settings) const
{
    const QByteArray scene = R"(formatVersion: 1
corvane:
  instances:
    post:
      type: box
      params: {width: 0.47, height: 1.53, depth: 0.36}
  roots: [post]
  settings:
    export:
      bounds: {minX: -1, minY: -1, minZ: -1, maxX: 1, maxY: 1, maxZ: 1}
      cellSize: 0.1
)" + settings;
    return runProgram(
        {u"export"_s, writeFile(m_folder, u"post.corvane"_s, scene), u"-o"_s, output()});
}

void TstExportSettings::settingsShapeTheMesh_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<double>("volume"); // 0 for one that does not matter
    QTest::addColumn<int>("mostTriangles");
    const double across = 4 * 0.47 * 0.36;
    QTest::newRow("defaults") << QByteArray() << false << 0.0 << 3000;
    QTest::newRow("sealed") << QByteArray("      sealed: true\n") << true << 0.0 << 3000;
    // Half a cell within the ends, and sharp.
    QTest::newRow("sharp") << QByteArray("      extractor: \"DC\"\n      sealed: true\n") << true
                           << across * 1.9 << 3000;
    QTest::newRow("octree") << QByteArray("      extractor: \"DC-octree\"\n      sealed: true\n")
                            << true << across * 1.9 << 600;
    QTest::newRow("found bounds")
        << QByteArray("      extractor: \"DC\"\n      autoBounds: true\n      threadCount: 2\n"
                      "      chunkSize: 8\n")
        << true << across * 3.06 << 5000;
    QTest::newRow("steps") << QByteArray("      extractor: \"DC\"\n      sealed: true\n"
                                         "      postprocess:\n        - weld\n"
                                         "        - coplanarMerge(1)\n")
                           << true << across * 1.9 << 12;
    QTest::newRow("steps in a line") << QByteArray("      extractor: \"DC\"\n      sealed: true\n"
                                                   "      postprocess: [\"coplanarMerge\"]\n")
                                     << true << across * 1.9 << 12;
}

void TstExportSettings::settingsShapeTheMesh()
{
    QFETCH(QByteArray, settings);
    QFETCH(bool, closed);
    QFETCH(double, volume);
    QFETCH(int, mostTriangles);
    const ProgramRun run = exportWith(settings);
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    QString error;
    const auto loaded = mesh::io::MeshLoader::loadFromFile(output(), &error);
    QVERIFY2(loaded, qPrintable(error));
    const auto solid = support::welded(*loaded);
    QCOMPARE(support::isClosedManifold(solid), closed);
    QVERIFY2(solid.elements.size() <= mostTriangles,
             qPrintable(QString::number(solid.elements.size())));
    if (volume > 0.0)
        QVERIFY2(std::fabs(support::signedVolume(solid) / volume - 1) < 0.005,
                 qPrintable(QString::number(support::signedVolume(solid))));
}

QTEST_GUILESS_MAIN(TstExportSettings)
#include "tst_ExportSettings.moc"
