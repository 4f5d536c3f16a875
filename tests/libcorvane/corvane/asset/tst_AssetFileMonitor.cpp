#include <corvane/asset/AssetFileMonitor.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::asset::AssetFileMonitor;
using support::put;

class TstAssetFileMonitor : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aChangeIsReported_data()
    {
        QTest::addColumn<QString>("way");
        QTest::newRow("written") << u"write"_s;
        QTest::newRow("replaced by rename") << u"rename"_s;
        QTest::newRow("removed and made again") << u"remove"_s;
        QTest::newRow("gone with its folders and made again") << u"remove folders"_s;
    }

    void aChangeIsReported()
    {
        QFETCH(const QString, way);
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"outer/inner/part.stl"_s),
                      next = dir.filePath(u"next"_s);
        const QString folder = QFileInfo(path).path();
        QVERIFY(QDir().mkpath(folder) && put(path, "one"));
        AssetFileMonitor monitor;
        QSignalSpy changes(&monitor, &AssetFileMonitor::fileChanged);
        const QUuid a = QUuid::createUuid(), b = QUuid::createUuid();
        monitor.watchPath(path, a);
        monitor.watchPath(path, b);
        // Twice: what replaced the file has to be watched as well.
        for (int round = 1; round <= 2; ++round) {
            changes.clear();
            if (way == u"write"_s) {
                QVERIFY(put(path, QByteArray(round * 10, 'x')));
            } else if (way == u"rename"_s) {
                QVERIFY(put(next, QByteArray(round * 10, 'x')));
                QVERIFY(std::rename(qPrintable(next), qPrintable(path)) == 0);
            } else {
                const bool folders = way == u"remove folders"_s;
                QVERIFY(folders ? QDir(dir.filePath(u"outer"_s)).removeRecursively()
                                : QFile::remove(path));
                QCoreApplication::processEvents();
                QVERIFY(QDir().mkpath(folder) && put(path, QByteArray(round * 10, 'x')));
            }
            QTRY_VERIFY(!changes.isEmpty());
            QCOMPARE(changes.first().at(0).toString(), path);
            auto ids = changes.first().at(1).value<QList<QUuid>>();
            QCOMPARE(QSet<QUuid>(ids.cbegin(), ids.cend()), (QSet<QUuid>{a, b}));
            QTest::qWait(0);
        }
    }

    void aFloodOfChangesIsFewReports()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"part.stl"_s);
        QVERIFY(put(path, "one"));
        AssetFileMonitor monitor;
        QSignalSpy changes(&monitor, &AssetFileMonitor::fileChanged);
        QByteArray seen;
        connect(&monitor, &AssetFileMonitor::fileChanged, this,
                [&] { seen = support::contentOf(path); });
        monitor.watchPath(path, QUuid::createUuid());
        constexpr int floods = 300;
        for (int i = 0; i < floods; ++i) {
            QVERIFY(put(path, QByteArray::number(i)));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(seen, QByteArray::number(floods - 1));
        QVERIFY2(changes.size() < floods / 2, qPrintable(QString::number(changes.size())));
    }

    void whatIsNotThereIsNotWatched()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"none.obj"_s);
        QTest::ignoreMessage(
            QtWarningMsg,
            qPrintable(u"AssetFileMonitor: Cannot watch non-existent file: "_s + path));
        AssetFileMonitor monitor;
        monitor.watchPath(path, QUuid::createUuid());
    }

    void afterClearNothingIsReported()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"part.stl"_s), other = dir.filePath(u"other.stl"_s);
        QVERIFY(put(path, "one") && put(other, "one"));
        AssetFileMonitor monitor;
        QSignalSpy changes(&monitor, &AssetFileMonitor::fileChanged);
        monitor.watchPath(path, QUuid::createUuid());
        monitor.clear();
        monitor.watchPath(other, QUuid::createUuid());
        QVERIFY(put(path, "two") && put(other, "two"));
        QTRY_VERIFY(!changes.isEmpty());
        for (const auto &change : std::as_const(changes))
            QCOMPARE(change.at(0).toString(), other);
    }
};

QTEST_GUILESS_MAIN(TstAssetFileMonitor)
#include "tst_AssetFileMonitor.moc"
