#include <store/FaultInjection.h>
#include <store/SafeFile.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::contentOf;
using support::put;

namespace {

const QByteArray oldContent = QByteArray("the old content\n").repeated(1000);
// More than the buffer, so that a save takes several writes.
const QByteArray newContent = QByteArray("something new\n").repeated(60'000);

bool saveInPieces(const QString &path)
{
    store::SafeFile file(path);
    if (!file.open())
        return false;
    for (qsizetype at = 0; at < newContent.size(); at += 100'000)
        file.write(newContent.mid(at, 100'000));
    return file.commit();
}

} // namespace

class TstSafeFile : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QString inFolder(const QString &name) const { return m_folder.filePath(name); }
    QStringList filesInFolder() const
    {
        return QDir(m_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    bool hasNamelessFiles() const
    {
        const int fd =
            ::open(QFile::encodeName(m_folder.path()).constData(), O_WRONLY | O_TMPFILE, 0600);
        return fd >= 0 && ::close(fd) == 0;
    }

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        for (const QString &name : filesInFolder())
            QVERIFY(QFile::remove(inFolder(name)) || QDir(inFolder(name)).removeRecursively());
    }

    void anyFailingCallLeavesTheOldOrTheNewFileWhole_data()
    {
        QTest::addColumn<bool>("hasOld");
        QTest::newRow("over an old file") << true;
        QTest::newRow("where there was none") << false;
    }

    void anyFailingCallLeavesTheOldOrTheNewFileWhole()
    {
        QFETCH(const bool, hasOld);
        const QString path = inFolder(u"model.stl"_s);
        const QByteArray before = hasOld ? oldContent : QByteArray();
        int failures = 0;
        for (int n = 1;; ++n) {
            QFile::remove(path);
            if (hasOld)
                put(path, before);
            const store::FaultInjection fault(n);
            const bool saved = saveInPieces(path);
            const QByteArray after = contentOf(path);
            QVERIFY2(after == before || after == newContent, "a file that is neither old nor new");
            QVERIFY2(!saved || after == newContent, "reported as saved, but it is the old file");
            QCOMPARE(filesInFolder().size(), after.isEmpty() ? 0 : 1);
            if (!fault.hasFired()) {
                QVERIFY(saved);
                break;
            }
            QVERIFY(!saved);
            ++failures;
        }
        // Open, the writes, sync, rename, open and sync of the folder.
        QVERIFY2(failures >= 8, qPrintable(QString::number(failures)));
    }

    void theFirstFailureIsKeptAndNamed_data()
    {
        QTest::addColumn<store::Operation>("operation");
        QTest::addColumn<QString>("expected");
        QTest::newRow("open") << store::Operation::Open << u"Permission denied"_s;
        QTest::newRow("short write") << store::Operation::Write << u"No space left on device"_s;
        QTest::newRow("sync") << store::Operation::Sync << u"Input/output error"_s;
        QTest::newRow("rename") << store::Operation::Rename << u"Permission denied"_s;
    }

    void theFirstFailureIsKeptAndNamed()
    {
        QFETCH(const store::Operation, operation);
        QFETCH(const QString, expected);
        const store::FaultInjection fault(operation, 1);
        store::SafeFile file(inFolder(u"out"_s));
        const bool opened = file.open();
        file.write(newContent);
        file.write("more");
        QVERIFY(!file.commit());
        QVERIFY(opened || operation == store::Operation::Open);
        QVERIFY(file.hasFailed());
        QCOMPARE(file.errorString(), expected);
        QCOMPARE(filesInFolder(), QStringList());
    }

    void theDeviceReportsAShortWrite()
    {
        const store::FaultInjection fault(store::Operation::Write, 1);
        store::SafeFile file(inFolder(u"out"_s));
        QVERIFY(file.open());
        QCOMPARE(file.device()->write(newContent), -1);
        QCOMPARE(file.device()->write("x"), -1);
        QVERIFY(!file.commit());
    }

    void aFullDiskIsAFailure()
    {
        if (!QFileInfo::exists(u"/dev/full"_s))
            QSKIP("no /dev/full here");
        QString error;
        QVERIFY(!store::writeFile(u"/dev/full"_s, newContent, &error));
        QCOMPARE(error, u"No space left on device"_s);
    }

    void whatIsNotCommittedNeverWas_data()
    {
        QTest::addColumn<int>("namedFile");
        QTest::addColumn<int>("filesMeanwhile");
        QTest::newRow("without a name") << 0 << (hasNamelessFiles() ? 1 : 2);
        QTest::newRow("with a name") << 1 << 2;
    }

    void whatIsNotCommittedNeverWas()
    {
        QFETCH(const int, namedFile);
        const QString path = inFolder(u"kept"_s);
        put(path, oldContent);
        {
            const store::FaultInjection fault(store::Operation::Nameless, namedFile);
            store::SafeFile file(path);
            QVERIFY(file.open());
            file.write(newContent);
            QTEST(int(filesInFolder().size()), "filesMeanwhile");
        }
        {
            store::SafeFile file(path);
            QVERIFY(file.open());
            file.write(newContent);
            file.cancel();
            QVERIFY(!file.commit());
            QVERIFY(!file.write("x"));
        }
        QCOMPARE(contentOf(path), oldContent);
        QCOMPARE(filesInFolder(), QStringList{u"kept"_s});
    }

    void permissionsAreKept()
    {
        const QString path = inFolder(u"script"_s);
        put(path, oldContent);
        QVERIFY(::chmod(QFile::encodeName(path).constData(), 0751) == 0);
        QVERIFY(store::writeFile(path, newContent));
        struct stat status = {};
        QVERIFY(::stat(QFile::encodeName(path).constData(), &status) == 0);
        QCOMPARE(int(status.st_mode & 07777), 0751);
        QCOMPARE(contentOf(path), newContent);
    }

    void linksAreWrittenThrough_data()
    {
        QTest::addColumn<bool>("targetExists");
        QTest::newRow("to a file") << true;
        QTest::newRow("to nothing yet") << false;
    }

    void linksAreWrittenThrough()
    {
        QFETCH(const bool, targetExists);
        QVERIFY(QDir(m_folder.path()).mkdir(u"deep"_s));
        const QString target = inFolder(u"deep/target"_s);
        if (targetExists)
            put(target, oldContent);
        QVERIFY(::symlink("deep/target", QFile::encodeName(inFolder(u"inner"_s)).constData()) == 0);
        QVERIFY(::symlink("inner", QFile::encodeName(inFolder(u"outer"_s)).constData()) == 0);
        QVERIFY(store::probeWritable(inFolder(u"outer"_s)));
        QVERIFY(store::writeFile(inFolder(u"outer"_s), newContent));
        QCOMPARE(contentOf(target), newContent);
        QVERIFY(QFileInfo(inFolder(u"inner"_s)).isSymLink());
        QVERIFY(QFileInfo(inFolder(u"outer"_s)).isSymLink());
        QVERIFY(!QFileInfo(target).isSymLink());
    }

    void aFifoIsWrittenDirectly()
    {
        const QString path = inFolder(u"fifo"_s);
        QVERIFY(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
        QVERIFY(store::probeWritable(path));
        QByteArray received;
        std::thread reader([&] { received = contentOf(path); });
        const bool written = store::writeFile(path, newContent);
        reader.join();
        QVERIFY(written);
        QCOMPARE(received, newContent);
        QCOMPARE(filesInFolder(), QStringList{u"fifo"_s});
    }

    void aReaderThatLeavesIsAFailureAndNoSignal()
    {
        const QString path = inFolder(u"fifo"_s);
        QVERIFY(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
        const int reader = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK);
        QVERIFY(reader >= 0);
        store::SafeFile file(path);
        QVERIFY(file.open());
        ::close(reader);
        file.write(newContent);
        QVERIFY(!file.commit());
        QCOMPARE(file.errorString(), u"Broken pipe"_s);
    }

    void unwritablePathsAreFoundBefore_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << QString() << u"No such file or directory"_s;
        QTest::newRow("missing folder") << u"no/such/file"_s << u"No such file or directory"_s;
        QTest::newRow("a folder") << u"."_s << u"Is a directory"_s;
        QTest::newRow("a trailing slash") << u"new/"_s << u"Is a directory"_s;
        QTest::newRow("a file as folder") << u"plain/file"_s << u"Not a directory"_s;
        QTest::newRow("links in a ring") << u"ring"_s << u"Too many levels of symbolic links"_s;
        QTest::newRow("too long") << QString(300, u'x') << u"File name too long"_s;
        QTest::newRow("NUL inside") << u"a%1b"_s.arg(QChar(u'\0')) << u"Invalid argument"_s;
    }

    void unwritablePathsAreFoundBefore()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, expected);
        put(inFolder(u"plain"_s), oldContent);
        QVERIFY(::symlink("ring", QFile::encodeName(inFolder(u"ring"_s)).constData()) == 0);
        const QString path = name.isEmpty() ? name : inFolder(name);
        QString probed, written;
        QVERIFY(!store::probeWritable(path, &probed));
        QVERIFY(!store::writeFile(path, newContent, &written));
        QCOMPARE(probed, expected);
        QCOMPARE(written, expected);
        QCOMPARE(filesInFolder(), (QStringList{u"plain"_s, u"ring"_s}));
    }

    void probingLeavesNothing()
    {
        put(inFolder(u"old"_s), oldContent);
        QVERIFY(store::probeWritable(inFolder(u"new"_s)));
        QVERIFY(store::probeWritable(inFolder(u"old"_s)));
        QCOMPARE(filesInFolder(), QStringList{u"old"_s});
        QCOMPARE(contentOf(inFolder(u"old"_s)), oldContent);
    }

    void aSignalLeavesNoLitter_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("one that is handled") << SIGTERM;
        QTest::newRow("one that nobody can handle") << SIGKILL;
    }

    void aSignalLeavesNoLitter()
    {
        QFETCH(const int, signal);
#ifdef __SANITIZE_THREAD__
        if (signal != SIGKILL)
            QSKIP("the sanitizer hands no signal to the child of a process with several threads");
#endif
        if (signal == SIGKILL && !hasNamelessFiles())
            QSKIP("files of this file system have names from the start");
        const QString path = inFolder(u"model.stl"_s);
        put(path, oldContent);
        const pid_t child = ::fork();
        if (child == 0) {
            std::signal(SIGTERM, [](int) {
                store::SafeFile::removeAllPending();
                ::_exit(7);
            });
            // With a name, where a handler can come to remove it.
            const store::FaultInjection fault(store::Operation::Nameless, signal == SIGTERM);
            store::SafeFile first(path), second(inFolder(u"other"_s));
            if (first.open() && second.open() && first.write(newContent))
                ::raise(signal);
            ::_exit(1);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QCOMPARE(signal == SIGKILL ? WTERMSIG(status) : WEXITSTATUS(status),
                 signal == SIGKILL ? SIGKILL : 7);
        QCOMPARE(filesInFolder(), QStringList{u"model.stl"_s});
        QCOMPARE(contentOf(path), oldContent);
    }

    void moreFilesThanTheTableHoldsAreStillWritten()
    {
        std::vector<std::unique_ptr<store::SafeFile>> files;
        for (int i = 0; i < 300; ++i) {
            files.push_back(std::make_unique<store::SafeFile>(inFolder(QString::number(i))));
            QVERIFY(files.back()->open());
            QVERIFY(files.back()->write(QByteArray::number(i)));
        }
        for (const auto &file : files)
            QVERIFY(file->commit());
        QCOMPARE(filesInFolder().size(), 300);
        QCOMPARE(contentOf(inFolder(u"299"_s)), "299");
    }
};

QTEST_GUILESS_MAIN(TstSafeFile)
#include "tst_SafeFile.moc"
