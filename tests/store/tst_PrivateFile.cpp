#include <store/PrivateFile.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class TstPrivateFile : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_dir = std::make_unique<QTemporaryDir>();
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir->filePath(u"home"_s)));
    }

    void onlyOwnFoldersAreMadeStrict_data()
    {
        QTest::addColumn<bool>("own");
        QTest::addColumn<int>("before"); // 0: not there
        QTest::addColumn<int>("after");
        QTest::newRow("a new folder") << false << 0 << 0700;
        QTest::newRow("a new folder of the application") << true << 0 << 0700;
        QTest::newRow("a loose folder of the application") << true << 0755 << 0700;
        QTest::newRow("a loose folder of somebody else's") << false << 0755 << 0755;
        QTest::newRow("a strict folder") << false << 0700 << 0700;
    }

    void onlyOwnFoldersAreMadeStrict()
    {
        QFETCH(const bool, own);
        QFETCH(const int, before);
        QFETCH(const int, after);
        const QString home = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
        QVERIFY(home.startsWith(m_dir->path()));
        const QString folder = (own ? home : m_dir->filePath(u"elsewhere"_s)) + u"/zirn"_s;
        if (before != 0) {
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(::chmod(QFile::encodeName(folder).constData(), mode_t(before)) == 0);
        }
        if (after != 0700)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"WARNING: Others may enter the folder.*"_s));
        const QString path = folder + u"/key.json"_s;
        QString error;
        QVERIFY2(store::writePrivateFile(path, "secret", &error), qPrintable(error));
        QCOMPARE(modeOf(path), 0600);
        QCOMPARE(modeOf(folder), after);
    }

    void aFolderThatCannotBeMadeIsAnError()
    {
        QFile inTheWay(m_dir->filePath(u"file"_s));
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        QString error;
        QVERIFY(!store::writePrivateFile(inTheWay.fileName() + u"/key"_s, "secret", &error));
        QCOMPARE(error, u"Not a directory"_s);
    }

    void whatIsSetAsideNeverCoversAnything()
    {
        const QString path = m_dir->filePath(u"f"_s);
        QSet<QString> kept;
        for (int i = 0; i < 3; ++i) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.close();
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"WARNING: '.*/f' was kept as '.*': why"_s));
            kept.insert(store::setAsideFile(path, u"why"_s));
            QVERIFY(!QFile::exists(path));
        }
        QCOMPARE(kept.size(), 3);
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(u"WARNING: '.*/f' could not be moved aside: why"_s));
        QVERIFY(store::setAsideFile(path, u"why"_s).isEmpty());
    }

private:
    static int modeOf(const QString &path)
    {
        struct stat status = {};
        return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777
                                                                         : 0;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TstPrivateFile)
#include "tst_PrivateFile.moc"
