#include <store/RegularFile.h>

#include <support/Files.h>

#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

enum class Way { Whole, Opened, Input };

/// What each of the three ways has to say of a path: the bytes, or the error.
QString outcome(Way way, const QString &path, qint64 most)
{
    QString error;
    std::optional<QByteArray> bytes;
    if (way == Way::Whole) {
        bytes = store::readRegularFile(path, most, &error);
    } else if (way == Way::Input) {
        bytes = store::readInput(path, {.file = most, .stream = most}, &error);
    } else {
        store::RegularFile file(path);
        if (file.open(QIODevice::ReadOnly))
            bytes = file.fileName() == path && !file.isSequential() ? file.readAll() : "a stream";
        else
            error = file.errorString();
    }
    return bytes ? u"read: "_s + QString::fromUtf8(*bytes) : error;
}

bool makeSocket(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= qsizetype(sizeof address.sun_path))
        return false;
    std::copy(name.cbegin(), name.cend(), address.sun_path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool isBound =
        ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(fd);
    return isBound;
}

} // namespace

/// Each of these hung, or filled the memory, where a plain QFile was opened.
class TstRegularFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(support::put(at(u"plain"_s), "content"));
        QVERIFY(support::put(at(u"empty"_s), QByteArray()));
        QVERIFY(QDir(m_folder.path()).mkdir(u"folder"_s));
        QVERIFY(QFile::link(at(u"plain"_s), at(u"link"_s)));
        QVERIFY(QFile::link(u"/dev/zero"_s, at(u"zeros"_s)));
        QVERIFY(QFile::link(at(u"loop"_s), at(u"loop"_s)));
        QVERIFY(::mkfifo(QFile::encodeName(at(u"fifo"_s)).constData(), 0600) == 0);
        QVERIFY(QFile::link(at(u"fifo"_s), at(u"link to fifo"_s)));
        QVERIFY(makeSocket(at(u"socket"_s)));
        QVERIFY(support::put(at(u"huge"_s), "x") && QFile::resize(at(u"huge"_s), 1ll << 40));
    }

    void onlyRegularFilesOfBoundedSizeAreRead_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("most");
        QTest::addColumn<QString>("expected");
        const auto row = [this](const char *name, const QString &expected, qint64 most = 100) {
            QTest::newRow(name) << at(QString::fromLatin1(name)) << most << expected;
        };
        row("plain", u"read: content"_s);
        row("link", u"read: content"_s);
        row("empty", u"read: "_s);
        row("absent", u"No such file or directory"_s);
        row("folder", u"it is a folder, not a regular file"_s);
        row("fifo", u"it is a FIFO, not a regular file"_s);
        row("link to fifo", u"it is a FIFO, not a regular file"_s);
        row("socket", u"it is a socket, not a regular file"_s);
        row("zeros", u"it is a device, not a regular file"_s);
        row("loop", u"Too many levels of symbolic links"_s);
        row("plain/below", u"Not a directory"_s);
        QTest::newRow("no name") << QString() << 100ll << u"No such file or directory"_s;
        QTest::newRow("a name with a null")
            << at(u"plain"_s) + QChar(u'\0') + u"x"_s << 100ll << u"Invalid argument"_s;
    }

    void onlyRegularFilesOfBoundedSizeAreRead()
    {
        QFETCH(const QString, path);
        QFETCH(const qint64, most);
        QFETCH(const QString, expected);
        for (const Way way : {Way::Whole, Way::Opened})
            QCOMPARE(outcome(way, path, most), expected);
    }

    void lengthIsBounded_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("most");
        QTest::addColumn<QString>("expected");
        QTest::newRow("just fits") << at(u"plain"_s) << 7ll << u"read: content"_s;
        QTest::newRow("a byte too long") << at(u"plain"_s) << 6ll << u"it is larger than 6 bytes"_s;
        QTest::newRow("a terabyte")
            << at(u"huge"_s) << (64ll << 20) << u"it is larger than 64 MiB"_s;
        QTest::newRow("of no known length")
            << u"/proc/self/status"_s << 10ll << u"it is larger than 10 bytes"_s;
    }

    void lengthIsBounded()
    {
        QFETCH(const QString, path);
        QFETCH(const qint64, most);
        QFETCH(const QString, expected);
        for (const Way way : {Way::Whole, Way::Input})
            QCOMPARE(outcome(way, path, most), expected);
    }

    void theUserMayNameStreams()
    {
        QCOMPARE(outcome(Way::Input, at(u"zeros"_s), 4 << 20), u"it is larger than 4 MiB"_s);
        QCOMPARE(outcome(Way::Input, u"/dev/null"_s, 10), u"read: "_s);
        QCOMPARE(outcome(Way::Input, at(u"folder"_s), 10), u"it is a folder, not a regular file"_s);
        int ends[2] = {-1, -1};
        QVERIFY(::pipe(ends) == 0);
        QCOMPARE(::write(ends[1], "by pipe", 7), 7);
        ::close(ends[1]);
        QCOMPARE(outcome(Way::Input, u"/proc/self/fd/%1"_s.arg(ends[0]), 7), u"read: by pipe"_s);
        ::close(ends[0]);
    }

    void longFilesAreReadWhole()
    {
        QByteArray text;
        for (int i = 0; i < 400000; ++i)
            text += QByteArray::number(i);
        QVERIFY(support::put(at(u"long"_s), text));
        QVERIFY(store::readRegularFile(at(u"long"_s), 1 << 30) == text);
        QVERIFY(store::readRegularFile(u"/proc/self/maps"_s, 1 << 30).value().size() > 4096);
    }

private:
    QString at(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TstRegularFile)
#include "tst_RegularFile.moc"
