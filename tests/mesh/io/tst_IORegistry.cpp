#include "ThroughBytes.h"

#include <mesh/io/IORegistry.h>
#include <mesh/io/MeshLoader.h>
#include <store/FaultInjection.h>
#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>
#include <thread>

using namespace Qt::StringLiterals;
using mesh::io::ErrorCode;
using mesh::io::IORegistry;
using support::contentOf;
using support::FloatMesh;

class TstIORegistry : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    const IORegistry<float> &m_registry = IORegistry<float>::instance();

    static void formatRows()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("STL") << 0 << u"stl"_s;
        QTest::newRow("OBJ") << 1 << u"obj"_s;
        QTest::newRow("PLY") << 2 << u"ply"_s;
        QTest::newRow("VTK") << 3 << u"vtk"_s;
    }

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void formatsAreNamedAndChosenBySuffix_data() { formatRows(); }
    void formatsAreNamedAndChosenBySuffix()
    {
        QFETCH(const int, index);
        QFETCH(const QString, suffix);
        const QString capitals = suffix.toUpper();
        const auto &importer = m_registry.importers().at(size_t(index));
        const auto &exporter = m_registry.exporters().at(size_t(index));
        QCOMPARE(importer->name(), capitals + u" Importer"_s);
        QCOMPARE(exporter->name(), capitals + u" Exporter"_s);
        QCOMPARE(importer->extensions(), (QStringList{suffix, capitals}));
        QCOMPARE(exporter->extensions(), (QStringList{suffix, capitals}));
        for (const QString &path : {u"a."_s + suffix, u"/b.c/d.e."_s + capitals}) {
            QVERIFY(importer->canRead(path));
            QVERIFY(exporter->canWrite(path));
        }
        for (const QString &path : {suffix, u"a.%1x"_s.arg(suffix), u"a"_s}) {
            QVERIFY(!importer->canRead(path));
            QVERIFY(!exporter->canWrite(path));
        }
    }

    void pathsWithoutAFormatAreRefused()
    {
        const auto loaded = m_registry.load(u"a.step"_s);
        QCOMPARE(loaded.error().message, u"No importer found for: a.step"_s);
        QCOMPARE(loaded.error().code, int(ErrorCode::NotFound));
        const auto saved = m_registry.save({}, u"a"_s);
        QCOMPARE(saved.error().message, u"No exporter found for: a"_s);
        QCOMPARE(saved.error().code, int(ErrorCode::NotFound));
    }

    void filesThatCannotBeOpenedAreNamed_data() { formatRows(); }
    void filesThatCannotBeOpenedAreNamed()
    {
        QFETCH(const QString, suffix);
        const QString missing = m_folder.filePath(u"no."_s + suffix);
        const auto loaded = m_registry.load(missing);
        QCOMPARE(loaded.error().message, u"File not found: "_s + missing);
        QCOMPARE(loaded.error().code, int(ErrorCode::NotFound));
        const QString folder = m_folder.filePath(u"folder."_s + suffix);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(m_registry.load(folder).error().message.startsWith(u"Failed to open file: "_s));
        const QString pipe = m_folder.filePath(u"pipe."_s + suffix);
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        QCOMPARE(m_registry.load(pipe).error().message,
                 u"Failed to open file: %1 (it is a FIFO, not a regular file)"_s.arg(pipe));
        const auto saved = m_registry.save(support::makeCube(), folder);
        QVERIFY(saved.error().message.contains(u"Is a directory"_s));
        QCOMPARE(saved.error().code, int(ErrorCode::WriteFailure));
    }

    void devicesThatAreNotOpenAreRefused_data() { formatRows(); }
    void devicesThatAreNotOpenAreRefused()
    {
        QFETCH(const int, index);
        QBuffer closed;
        const auto read = m_registry.importers().at(size_t(index))->read(closed, {});
        QCOMPARE(read.error().message,
                 index == 0 ? u"Device is not open for reading"_s : u"Device is not readable"_s);
        const auto written = m_registry.exporters().at(size_t(index))->write({}, closed, {});
        QCOMPARE(written.error().message,
                 index == 0 ? u"Device is not open for writing"_s : u"Device is not writable"_s);
    }

    void bothWaysCanBeCancelled_data() { formatRows(); }
    void bothWaysCanBeCancelled()
    {
        QFETCH(const int, index);
        QFETCH(const QString, suffix);
        const QString path = m_folder.filePath(u"cancel."_s + suffix);
        const FloatMesh sphere = support::makeSphere(2, 15, 20);
        QVERIFY(m_registry.save(sphere, path).isOk());
        const QByteArray before = contentOf(path);
        const auto stop = [](qint64 current, qint64) { return current < 10; };
        const auto read = m_registry.load(path, {.progress = stop, .progressInterval = 5});
        QVERIFY(!read.isOk());
        QCOMPARE(read.error().code, int(ErrorCode::Cancelled));
        QCOMPARE(read.error().message, index == 0 ? u"Operation cancelled at triangle 10"_s
                                                  : u"Import cancelled by user"_s);
        const auto written =
            m_registry.save(support::makeCube(), path, {.progress = stop, .progressInterval = 1});
        QCOMPARE(written.error().message, index == 0 ? u"Operation cancelled at triangle 10"_s
                                                     : u"Export cancelled by user"_s);
        QCOMPARE(written.error().code, int(ErrorCode::Cancelled));
        QCOMPARE(contentOf(path), before);
    }

    void progressCountsToItsTotal_data() { formatRows(); }
    void progressCountsToItsTotal()
    {
        QFETCH(const int, index);
        const FloatMesh sphere = support::makeSphere(2, 15, 20);
        QList<qint64> seen;
        qint64 total = 0;
        const auto note = [&](qint64 current, qint64 all) {
            seen.append(current);
            total = all;
            return true;
        };
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        const auto &exporter = m_registry.exporters().at(size_t(index));
        QVERIFY(exporter->write(sphere, buffer, {.progress = note, .progressInterval = 50}).isOk());
        QCOMPARE(total, sphere.elements.size() + (index == 0 ? 0 : sphere.vertices.size()));
        QCOMPARE(seen.size(), (total + 49) / 50);
        QVERIFY(std::is_sorted(seen.cbegin(), seen.cend()));
        QVERIFY(seen.last() < total);
    }

    void anyNumberOfThreadsWritesTheSame_data() { formatRows(); }
    void anyNumberOfThreadsWritesTheSame()
    {
        QFETCH(const int, index);
        FloatMesh sphere = support::makeSphere(2, 120, 180);
        sphere.recalculateNormals();
        QList<float> &groups = sphere.elementAttributes[u"group"_s];
        for (qsizetype i = 0; i < sphere.elements.size(); ++i) {
            sphere.elements[i].type =
                i % 7 == 0 ? mesh::ElementType::Line : sphere.elements[i].type;
            groups.append(i % 3 == 0 ? -1.0f : float(i / 10'000)); // others begin within a block
        }
        const auto &exporter = m_registry.exporters().at(size_t(index));
        for (const bool binary : {true, false}) {
            QByteArray expected;
            for (const int threads : {1, 2, 5}) {
                QBuffer buffer;
                buffer.open(QIODevice::WriteOnly);
                QVERIFY(
                    exporter->write(sphere, buffer, {.binary = binary, .threads = threads}).isOk());
                expected = threads == 1 ? buffer.data() : expected;
                QVERIFY(buffer.data() == expected);
            }
        }
        // A cancel and a bad element are met where one thread meets them.
        const auto stop = [](qint64 current, qint64) { return current < 9'000; };
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        const auto cancelled = exporter->write(
            sphere, buffer, {.progress = stop, .progressInterval = 1'000, .threads = 3});
        QCOMPARE(cancelled.error().message, index == 0 ? u"Operation cancelled at triangle 9000"_s
                                                       : u"Export cancelled by user"_s);
        for (const qsizetype bad : {40'000, 39'999})
            sphere.elements[bad].nodes[1] = -1;
        QVERIFY(exporter->write(sphere, buffer, {.threads = 3})
                    .error()
                    .message.startsWith(u"Element 39999 has vertex index -1"_s));
    }

    void aFailedSaveLeavesTheOldFile_data() { formatRows(); }
    void aFailedSaveLeavesTheOldFile()
    {
        QFETCH(const QString, suffix);
        const QString path = m_folder.filePath(u"old."_s + suffix);
        QVERIFY(m_registry.save(support::makeCube(), path).isOk());
        const QByteArray before = contentOf(path);
        const FloatMesh sphere = support::makeSphere(1, 60, 80); // several blocks
        for (int n = 1;; ++n) {
            const store::FaultInjection fault(store::Operation::Write, n);
            const auto saved = m_registry.save(sphere, path);
            if (!fault.hasFired()) {
                QVERIFY(saved.isOk());
                QVERIFY(n > 1);
                break;
            }
            QVERIFY(!saved.isOk());
            QCOMPARE(saved.error().code, int(ErrorCode::WriteFailure));
            QVERIFY2(saved.error().message.contains(u"No space left on device"_s),
                     qPrintable(saved.error().message));
            QCOMPARE(contentOf(path), before);
        }
        QVERIFY(contentOf(path) != before);
    }

    void elementsWithNodesThatAreNotThereAreRefused_data() { formatRows(); }
    void elementsWithNodesThatAreNotThereAreRefused()
    {
        QFETCH(const QString, suffix);
        for (const int node : {-1, 8}) {
            FloatMesh cube = support::makeCube();
            cube.addElement(mesh::ElementType::Triangle, {0, 1, node});
            const auto saved = m_registry.save(cube, m_folder.filePath(u"bad."_s + suffix));
            QCOMPARE(saved.error().message,
                     u"Element 12 has vertex index %1, but there are 8 vertices"_s.arg(node));
        }
    }

    void aPipeIsReadToo_data() { formatRows(); }
    /// Whoever has a pipe can have its mesh; only a path does not lead to one.
    void aPipeIsReadToo()
    {
        QFETCH(const int, index);
        QFETCH(const QString, suffix);
        const QString path = m_folder.filePath(u"cube."_s + suffix);
        const QString pipe = m_folder.filePath(u"full."_s + suffix);
        QVERIFY(m_registry.save(support::makeCube(), path).isOk());
        QVERIFY(::mkfifo(qPrintable(pipe), 0600) == 0);
        std::thread writer([&] {
            QFile file(pipe);
            if (file.open(QIODevice::WriteOnly))
                file.write(contentOf(path));
        });
        QFile reader(pipe);
        QVERIFY(reader.open(QIODevice::ReadOnly));
        const auto read = m_registry.importers().at(size_t(index))->read(reader, {});
        writer.join();
        QVERIFY2(read.isOk(), read.isOk() ? "" : qPrintable(read.error().message));
        QVERIFY(support::isClosedManifold(read.value()));
    }

    void aDeviceWithoutEndIsRefused_data() { formatRows(); }
    void aDeviceWithoutEndIsRefused()
    {
        QFETCH(const int, index);
        QFile zeros(u"/dev/zero"_s);
        QVERIFY(zeros.open(QIODevice::ReadOnly));
        const auto read = m_registry.importers().at(size_t(index))->read(zeros, {});
        QVERIFY(!read.isOk());
        QVERIFY2(read.error().message == u"Line 1 is too long"_s ||
                     read.error().message == u"Input from a pipe exceeds limit of 256 MiB"_s,
                 qPrintable(read.error().message));
    }

    void theLoaderSharesItsMesh()
    {
        QString error;
        QVERIFY(!mesh::io::MeshLoader::loadFromFile(u"none.stl"_s, &error));
        QCOMPARE(error, u"File not found: none.stl"_s);
        const QString bad = m_folder.filePath(u"bad.ply"_s);
        QVERIFY(QFile(bad).open(QIODevice::WriteOnly));
        QVERIFY(!mesh::io::MeshLoader::loadFromFile(bad, &error));
        QCOMPARE(error, u"Failed to load mesh: Missing end_header"_s);
        const QString good = m_folder.filePath(u"good.obj"_s);
        QVERIFY(m_registry.save(support::makeCube(), good).isOk());
        const auto loaded = mesh::io::MeshLoader::loadFromFile(good, &error);
        QVERIFY(loaded);
        QCOMPARE(loaded->elements.size(), 12);
    }

    void foundByFuzzing_data()
    {
        QTest::addColumn<QString>("path");
        QDir data(QStringLiteral(CORVANE_TEST_DATA "/mesh"));
        const auto names = data.entryList(QDir::Files);
        for (const QString &name : names)
            QTest::newRow(qPrintable(name)) << data.filePath(name);
    }

    void foundByFuzzing()
    {
        QFETCH(const QString, path);
        const auto read = m_registry.load(path, {.maxTriangles = 10'000});
        QVERIFY(!read.isOk() || read.value().elements.size() <= 10'000);
    }
};

QTEST_GUILESS_MAIN(TstIORegistry)
#include "tst_IORegistry.moc"
