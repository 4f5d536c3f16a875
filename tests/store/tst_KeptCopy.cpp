#include <store/FaultInjection.h>
#include <store/KeptCopy.h>

#include <support/Files.h>

#include <QTemporaryDir>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using support::contentOf;
using support::put;

class TstKeptCopy : public QObject
{
    Q_OBJECT

private slots:
    void aFailureLeavesTheOldCopy()
    {
        const QByteArray text(3 << 20, 'x');
        QVERIFY(put(at(u"scene"_s), text));
        for (int failing = 1;; ++failing) {
            QVERIFY(put(at(u"copy"_s), "older"));
            QString error;
            const store::FaultInjection fault(failing);
            const bool isKept = store::keepCopy(at(u"scene"_s), at(u"copy"_s), &error);
            QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden),
                     QStringList({u"copy"_s, u"scene"_s}));
            if (!fault.hasFired()) {
                QVERIFY(isKept && failing > 4);
                break;
            }
            QVERIFY(!isKept && !error.isEmpty());
            const QByteArray content = contentOf(at(u"copy"_s));
            QVERIFY(content == "older" || content == text);
        }
        QCOMPARE(contentOf(at(u"copy"_s)), text);
    }

    void whatIsInTheWayIsSaid_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("error");
        QTest::newRow("no file to copy") << u"absent"_s << u"No such file or directory"_s;
        QTest::newRow("a FIFO to copy") << u"pipe"_s << u"it is a FIFO, not a regular file"_s;
        QTest::newRow("a FIFO in the way") << u"plain"_s << u"it is a FIFO, not a regular file"_s;
    }

    void whatIsInTheWayIsSaid()
    {
        QFETCH(const QString, source);
        const QString pipe = at(u"pipe"_s);
        QVERIFY(put(at(u"plain"_s), "text"));
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0 || errno == EEXIST);
        QString error;
        QVERIFY(!store::keepCopy(at(source), source == u"plain"_s ? pipe : at(u"new"_s), &error));
        QTEST(error, "error");
        QVERIFY(!QFile::exists(at(u"new"_s)));
        QVERIFY(!store::canKeepCopy(at(u"plain/below"_s), &error));
        QCOMPARE(error, u"Not a directory"_s);
    }

private:
    QString at(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TstKeptCopy)
#include "tst_KeptCopy.moc"
