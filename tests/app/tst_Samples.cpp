#include "app/Program.h"

#include <mesh/io/MeshLoader.h>
#include <support/Files.h>
#include <support/MeshChecks.h>

using namespace Qt::StringLiterals;

/// Every scene that ships loads, exports, and gives a closed solid.
class TstSamples : public QObject
{
    Q_OBJECT

private slots:
    void samplesMakeClosedSolids_data();
    void samplesMakeClosedSolids();
    void aMeshIsTheSameBytesEveryTime();

private:
    QTemporaryDir m_folder;
};

void TstSamples::samplesMakeClosedSolids_data()
{
    QTest::addColumn<QString>("path");
    const QDir folder(QStringLiteral(CORVANE_SAMPLES));
    const QFileInfoList files = folder.entryInfoList({u"*.corvane"_s}, QDir::Files, QDir::Name);
    QVERIFY(files.size() >= 18);
    for (const QFileInfo &file : files)
        QTest::newRow(qPrintable(file.completeBaseName())) << file.filePath();
}

void TstSamples::samplesMakeClosedSolids()
{
    QFETCH(QString, path);
    const ProgramRun validated = runProgram({u"validate"_s, path});
    QCOMPARE(validated.status, 0);
    QCOMPARE(validated.standardError, QString());

    const QString out = m_folder.filePath(u"sample.stl"_s);
    const ProgramRun exported = runProgram({u"export"_s, path, u"-o"_s, out});
    QVERIFY2(exported.status == 0, qPrintable(exported.standardError));

    QString error;
    const auto mesh = mesh::io::MeshLoader::loadFromFile(out, &error);
    QVERIFY2(mesh, qPrintable(error));
    const auto solid = support::welded(*mesh);
    QVERIFY(support::isClosedManifold(solid));
    QVERIFY(support::signedVolume(solid) > 0.0);
}

void TstSamples::aMeshIsTheSameBytesEveryTime()
{
    const QString sample = QStringLiteral(CORVANE_SAMPLES "/knob.corvane");
    QByteArray first;
    for (int run = 0; run < 2; ++run) {
        const QString out = m_folder.filePath(u"run.stl"_s);
        QCOMPARE(runProgram({u"export"_s, sample, u"-o"_s, out}).status, 0);
        const QByteArray bytes = support::contentOf(out);
        if (run == 0)
            first = bytes;
        QVERIFY(bytes == first);
    }
}

QTEST_GUILESS_MAIN(TstSamples)
#include "tst_Samples.moc"
