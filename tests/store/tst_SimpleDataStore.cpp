#include "StoreLog.h"

#include <store/FaultInjection.h>
#include <store/ShutdownLifecycle.h>
#include <store/SimpleDataStore.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using store::ASTransaction;
using store::SimpleDataStore;

namespace {

/// A store of one word, which must not be "bad".
class WordStore : public SimpleDataStore
{
public:
    ~WordStore() override { ++destroyed; }

    bool fromDefault() override
    {
        setWord(u"default"_s);
        return true;
    }
    QVariantMap toMap() const override
    {
        const QMutexLocker lock(&m_mutex);
        return {{u"word"_s, m_word}};
    }
    bool fromMap(const QVariantMap &map) override
    {
        if (map.value(u"word"_s) == u"bad"_s)
            return false;
        setWord(map.value(u"word"_s).toString());
        return true;
    }
    void change(const QString &word)
    {
        setWord(word);
        markDirty();
    }
    QString word() const { return toMap().value(u"word"_s).toString(); }

    static inline int destroyed = 0;

private:
    void setWord(const QString &word)
    {
        const QMutexLocker lock(&m_mutex);
        m_word = word;
    }
    mutable QMutex m_mutex;
    QString m_word = u"nothing"_s;
};

const QByteArray precious = "{\"word\": \"precious\"}";

using Words = QSharedPointer<WordStore>;

} // namespace

class TstSimpleDataStore : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_dir = std::make_unique<QTemporaryDir>();
    }

    void aNewStoreTakesItsDefaultsAndSavesThem()
    {
        const Words words = opened();
        QVERIFY(words->synchronize().wait());
        QCOMPARE(words->word(), u"default"_s);
        QCOMPARE(onDisk(), u"default"_s);
        QVERIFY(!words->isDirty());
        QVERIFY(support::contentOf(path()).contains("\n    \"word\"")); // for people to read
        QCOMPARE(words->journal(), QStringList({u"synchronization started"_s, u"sync=ok"_s,
                                                u"synchronization succeeded"_s}));
    }

    void withoutAChangeNothingIsWritten()
    {
        const Words words = opened();
        words->synchronize().wait();
        QFile::remove(path());
        QVERIFY(words->synchronize().wait());
        QVERIFY(!QFile::exists(path()));
        words->markDirty();
        QVERIFY(words->synchronize().wait());
        QVERIFY(QFile::exists(path()));
        QCOMPARE(words->journal().count(u"mark-dirty"_s), 1);
    }

    void aDamagedFileIsSetAside_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("message");
        QTest::newRow("cut") << "{\"key\": \"sk-secret"_ba
                             << u"ERROR: Parsing json data \\(18 bytes\\) from file '.*words.json' "
                                "produced error 'unterminated string'"_s;
        QTest::newRow("empty") << QByteArray()
                               << u"WARNING: Data read from file '.*words.json' was empty"_s;
        QTest::newRow("a list") << "[1]"_ba << u".*produced error 'not an object'"_s;
        QTest::newRow("binary") << QByteArray(64, '\0') << u"ERROR: Parsing json data.*"_s;
        QTest::newRow("nested without end")
            << QByteArray(100'000, '[') << u"ERROR: Parsing json data.*nested.*"_s;
        QTest::newRow("content that makes no sense") << "{\"word\": \"bad\"}"_ba << QString();
    }

    void aDamagedFileIsSetAside()
    {
        QFETCH(const QByteArray, content);
        QFETCH(const QString, message);
        QVERIFY(support::put(path(), content));
        if (!message.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, warning(message));
        QTest::ignoreMessage(QtWarningMsg,
                             warning(u"WARNING: '.*words.json' was kept as '.*': it is "
                                     "damaged, and defaults are used"_s));
        const Words words = opened();
        QVERIFY(words->synchronize().wait());
        QCOMPARE(words->word(), u"default"_s);
        QCOMPARE(onDisk(), u"default"_s);
        QCOMPARE(keptAside(), QList<QByteArray>{content});
    }

    void whatIsOnlyOutOfReachIsNotWrittenOver()
    {
        QVERIFY(::mkfifo(QFile::encodeName(path()).constData(), 0600) == 0);
        QTest::ignoreMessage(
            QtWarningMsg,
            warning(u"ERROR: Could not open .*words.json for reading: it is a FIFO, not a .*"_s));
        const Words words = opened();
        QVERIFY(!words->synchronize().wait());
        QCOMPARE(words->word(), u"default"_s); // in memory
        struct stat status = {};
        QVERIFY(::stat(QFile::encodeName(path()).constData(), &status) == 0);
        QVERIFY(S_ISFIFO(status.st_mode));
    }

    void whatWasNeverReadIsKept()
    {
        QVERIFY(support::put(path(), precious));
        const Words words = opened();
        words->change(u"hasty"_s);
        QTest::ignoreMessage(QtWarningMsg, warning(u"WARNING: .*without having been read"_s));
        QVERIFY(words->synchronize().wait());
        QCOMPARE(onDisk(), u"hasty"_s);
        QCOMPARE(keptAside(), QList<QByteArray>{precious});
    }

    void aSecretIsForItsOwnerAlone()
    {
        const QString folder = m_dir->filePath(u"zirn"_s);
        const QString file = folder + u"/words.json"_s;
        for (const bool wasOpen : {false, true}) {
            if (wasOpen)
                QVERIFY(::chmod(QFile::encodeName(file).constData(), 0644) == 0);
            const Words words = opened(file, true);
            words->synchronize().wait();
            words->markDirty();
            QVERIFY(words->synchronize().wait());
            QCOMPARE(modeOf(file), 0600u);
            QCOMPARE(modeOf(folder), 0700u);
        }
    }

    void aFailedSaveLeavesTheOldFile()
    {
        const Quiet quiet;
        for (int failing = 1;; ++failing) {
            const Words words = opened();
            words->synchronize().wait();
            words->change(u"new"_s);
            const store::FaultInjection fault(failing);
            const bool saved = words->synchronize().wait();
            if (!fault.hasFired()) {
                QVERIFY(saved && failing > 3);
                return;
            }
            QVERIFY(!saved && words->isDirty());
            QVERIFY(onDisk() == u"new"_s || onDisk() == u"default"_s);
            QFile::remove(path());
        }
    }

    void whatIsPendingIsSavedAtTheEnd()
    {
        const Words words = opened();
        words->synchronize().wait();
        words->change(u"late"_s);
        QVERIFY(store::ShutdownLifecycle::instance().finishWork(1h));
        const Words inTheNextRun = opened();
        QVERIFY(inTheNextRun->synchronize().wait());
        QCOMPARE(inTheNextRun->word(), u"late"_s);
    }

    void whatIsSwitchedOffIsNotAskedAtTheEnd()
    {
        const Words words = opened();
        QVERIFY(words->synchronize().wait());
        QVERIFY(words->activate(false));
        words->change(u"late"_s);
        QVERIFY(words->isDirty());
        QVERIFY(store::ShutdownLifecycle::instance().finishWork(1h));
        QCOMPARE(onDisk(), u"default"_s);
    }

    void callbacksComeOnTheMainThread()
    {
        Words words = opened();
        QList<bool> results;
        words->synchronize([&](bool ok) {
            QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
            results.append(ok);
        });
        QTRY_COMPARE(results, QList<bool>{true});
    }

    void whatIsQueuedKeepsItsStore()
    {
        WordStore::destroyed = 0;
        Words words = opened();
        SimpleDataStore::Event event = words->synchronize();
        words.reset();
        QVERIFY(event.wait());
        QTRY_COMPARE(WordStore::destroyed, 1);
        QCOMPARE(onDisk(), u"default"_s);
    }

    void everyTransactionHasItsResult()
    {
        const Words words = opened();
        QVERIFY(words->request(ASTransaction::Status).wait());
        QVERIFY(!words->request(ASTransaction::Exists).wait());
        QVERIFY(words->request(ASTransaction::Generate).wait());
        QVERIFY(words->request(ASTransaction::Set, {{u"word"_s, u"set"_s}}).wait());
        QVERIFY(words->request(ASTransaction::Save).wait());
        QVERIFY(words->request(ASTransaction::Exists).wait());
        words->change(u"lost"_s);
        QVERIFY(words->request(ASTransaction::Load).wait());
        const SimpleDataStore::Event got = words->request(ASTransaction::Get);
        QVERIFY(got.wait() && got.isFinished() && got.isSuccessfull());
        QCOMPARE(got.data().value(u"word"_s).toString(), u"set"_s);
        QVERIFY(words->request(ASTransaction::Clear).wait());
        QVERIFY(!QFile::exists(path()));
        QVERIFY(words->request(ASTransaction::Completion).wait());
        QVERIFY(!words->request(ASTransaction::Set, {{u"word"_s, u"bad"_s}}).wait());
        QCOMPARE(words->journal().mid(words->journal().size() - 4),
                 QStringList({u"completion started"_s, u"completion succeeded"_s, u"set started"_s,
                              u"set failed"_s}));
        QVERIFY(words->journal().contains(u"exists failed"_s));
    }

    void whatIsNotReadySaysSo()
    {
        const auto words = Words::create();
        QTest::ignoreMessage(QtWarningMsg, "WARNING: Store not present");
        QVERIFY(words->synchronize().isNull());
        QTest::ignoreMessage(QtWarningMsg,
                             warning(u"WARNING: SimpleDataStore is not configured.*"_s));
        words->markDirty();
        words->configure();
        QTest::ignoreMessage(QtWarningMsg, "WARNING: Store not present");
        QVERIFY(words->synchronize().isNull());
        words->activate(true);
        QTest::ignoreMessage(QtWarningMsg, "ERROR: NO Backend while loading json");
        QVERIFY(!words->request(ASTransaction::Load).wait());
    }

    void itMustBeShared()
    {
        WordStore words;
        words.setFilename(path());
        words.configure();
        words.activate(true);
        QTest::ignoreMessage(QtWarningMsg, "ERROR: sharedThis returned null. You should allocate "
                                           "SimpleDataStore as a QSharedPointer for it to work");
        QVERIFY(words.synchronize().isNull());
    }

    void theBaseHasNoDefaults()
    {
        class Bare : public WordStore
        {
            bool fromDefault() override { return SimpleDataStore::fromDefault(); }
        };
        const auto bare = QSharedPointer<Bare>::create();
        bare->setFilename(path());
        bare->configure();
        bare->activate(true);
        QTest::ignoreMessage(QtWarningMsg, "PURE VIRTUAL fromDefault() CALLED ON SimpleDataStore");
        QVERIFY(!bare->synchronize().wait());
    }

    void aDeactivatedStoreHasFinishedItsQueue()
    {
        const Words words = opened();
        const SimpleDataStore::Event event = words->synchronize();
        QVERIFY(words->activate(false));
        QVERIFY(event.isFinished() && event.isSuccessfull());
        QVERIFY(words->activate(true));
        words->change(u"again"_s);
        QVERIFY(words->synchronize().wait());
        QCOMPARE(onDisk(), u"again"_s);
    }

private:
    QString path() const { return m_dir->filePath(u"words.json"_s); }

    Words opened() const { return opened(path(), false); }
    static Words opened(const QString &file, bool isPrivate)
    {
        const auto words = Words::create();
        words->setFilename(file);
        words->setPrivate(isPrivate);
        words->configure();
        words->activate(true);
        return words;
    }

    QString onDisk() const
    {
        return QJsonDocument::fromJson(support::contentOf(path()))
            .object()
            .value(u"word"_s)
            .toString();
    }

    QList<QByteArray> keptAside() const
    {
        QList<QByteArray> contents;
        const QDir folder(m_dir->path());
        for (const QString &name : folder.entryList({u"words.json.damaged-*"_s}))
            contents.append(support::contentOf(folder.filePath(name)));
        return contents;
    }

    static unsigned modeOf(const QString &file)
    {
        struct stat status = {};
        return ::stat(QFile::encodeName(file).constData(), &status) == 0 ? status.st_mode & 07777
                                                                         : 0;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TstSimpleDataStore)
#include "tst_SimpleDataStore.moc"
