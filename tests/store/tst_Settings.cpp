#include "StoreLog.h"

#include <store/FaultInjection.h>
#include <store/FolderLock.h>
#include <store/IniText.h>
#include <store/SettingDefaults.h>
#include <store/Settings.h>
#include <store/ShutdownLifecycle.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using store::Settings;

namespace {

const Settings::Names names{.group = u"Corvane"_s,
                            .organisation = u"Test"_s,
                            .domain = u"test.example"_s,
                            .application = u"Test Corvane"_s};
constexpr qint64 start = 1'800'000'000'000;

} // namespace

class TstSettings : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_dir = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir->path()));
        m_now = start;
    }

    void valuesComeBackAsTheyWere_data()
    {
        QTest::addColumn<QVariant>("value");
        QByteArray everyByte;
        for (int i = 0; i < 256; ++i)
            everyByte += char(i);
        QTest::newRow("text") << QVariant(u"plain"_s);
        QTest::newRow("no text") << QVariant(u""_s);
        QTest::newRow("separators") << QVariant(u"a,b;c=d\"e\\f"_s);
        QTest::newRow("blanks at the ends") << QVariant(u"  x "_s);
        QTest::newRow("line ends and controls") << QVariant(u"a\r\nb\tc\u0001d\u0001f"_s);
        QTest::newRow("other scripts") << QVariant(u"größer 形 🙂"_s);
        QTest::newRow("a leading at sign") << QVariant(u"@Rect(1 2 3 4)"_s);
        QTest::newRow("a null character") << QVariant(u"a"_s + QChar(u'\0') + u"1"_s);
        QTest::newRow("every byte") << QVariant(everyByte);
        QTest::newRow("no bytes") << QVariant(QByteArray());
        QTest::newRow("a rectangle") << QVariant(QRect(-3, 4, 500, 600));
        QTest::newRow("a list") << QVariant(QStringList{u"a, b"_s, u""_s, u"c"_s});
        QTest::newRow("a list of what looks like types")
            << QVariant(QStringList{u"@Rect(1 2 3 4)"_s, u"@@"_s, u"@ByteArray(x)"_s});
    }

    void valuesComeBackAsTheyWere()
    {
        QFETCH(const QVariant, value);
        const QString key = u"ui/dialogs/Größe & \"more\"/geometry"_s;
        {
            Settings settings(names);
            settings.setCustomSetting(key, value);
            QCOMPARE(settings.getCustomSetting(key), value);
        }
        QCOMPARE(Settings(names).getCustomSetting(key), value);
        // And the file is one that QSettings reads as its own.
        const QSettings plain(path(), QSettings::IniFormat);
        QCOMPARE(plain.status(), QSettings::NoError);
        QCOMPARE(plain.value(u"Corvane/custom/"_s + key), value);
    }

    void numbersAndTruthsHaveTheirGetters()
    {
        {
            Settings settings(names);
            settings.setCustomSettingInt(u"panels/sceneWidth"_s, -250);
            settings.setCustomSettingDouble(u"RenderingOptions/epsilon"_s, 0.1);
            settings.setCustomSettingBool(u"rendering/workerViewport"_s, false);
            settings.setCustomSettingRect(u"r"_s, {1, 2, 3, 4});
            settings.setCustomSettingByteArray(u"splitter/state"_s, "\xff\0x"_ba);
        }
        const Settings settings(names);
        QCOMPARE(settings.getCustomSettingInt(u"panels/sceneWidth"_s, 7), -250);
        QCOMPARE(settings.getCustomSettingDouble(u"RenderingOptions/epsilon"_s, 7.0), 0.1);
        QCOMPARE(settings.getCustomSettingBool(u"rendering/workerViewport"_s, true), false);
        QCOMPARE(settings.getCustomSettingRect(u"r"_s), QRect(1, 2, 3, 4));
        QCOMPARE(settings.getCustomSettingByteArray(u"splitter/state"_s), "\xff\0x"_ba);
        QCOMPARE(settings.getCustomSettingInt(u"missing"_s, 7), 7);
    }

    void aValueOfAnotherTypeIsNone()
    {
        Settings settings(names);
        settings.setCustomSetting(u"k"_s, u"many"_s);
        QCOMPARE(settings.getCustomSettingInt(u"k"_s, 7), 7);
        QCOMPARE(settings.getCustomSettingDouble(u"k"_s, 0.5), 0.5);
        QCOMPARE(settings.getCustomSettingBool(u"k"_s, true), true);
        QCOMPARE(settings.getCustomSettingRect(u"k"_s, {1, 1, 1, 1}), QRect(1, 1, 1, 1));
        QCOMPARE(settings.getCustomSettingByteArray(u"k"_s, "d"_ba), "d"_ba);
        QTest::ignoreMessage(QtWarningMsg,
                             warning(u"ERROR: The value of 'k' has a type .*: QVariantMap"_s));
        settings.setCustomSetting(u"k"_s, QVariantMap());
        QCOMPARE(settings.getCustomSetting(u"k"_s).toString(), u"many"_s);
    }

    void aKnownSettingHasItsDefault()
    {
        const Settings settings(names);
        QSet<QString> keys;
        for (const store::SettingDefault &row : store::settingDefaults()) {
            QCOMPARE(settings.getCustomSetting(row.key), row.value);
            QVERIFY2(store::hasIniForm(row.value), qPrintable(row.key));
            QVERIFY2(!keys.contains(row.key), qPrintable(row.key));
            keys.insert(row.key);
        }
        QCOMPARE(settings.getCustomSettingInt(u" panels/materialsWidth"_s), 350);
        QCOMPARE(settings.getCustomSettingInt(u"panels/materialsWidth"_s, 1), 1); // the caller's
        QCOMPARE(settings.getCustomSettingDouble(u"RenderingOptions/stepScale"_s), 0.8);
        QVERIFY(settings.getCustomSettingBool(u"rendering/workerViewport"_s));
        QVERIFY(!settings.getCustomSettingBool(u"rendering/workerViewport"_s, false));
        QCOMPARE(settings.getCustomSettingInt(u"unknown"_s), 0);
        QCOMPARE(settings.getCustomSettingByteArray(u"splitter/state"_s, "d"_ba), "d"_ba);
    }

    void keysAreTrimmedAndNotEmpty()
    {
        Settings settings(names);
        QSignalSpy changed(&settings, &Settings::customSettingChanged);
        settings.setCustomSettingInt(u"  a/b "_s, 1);
        QCOMPARE(changed.takeFirst().at(0).toString(), u"a/b"_s);
        QCOMPARE(settings.getCustomSettingInt(u"a/b"_s), 1);
        QTest::ignoreMessage(QtWarningMsg, "ERROR: Key was empty");
        settings.setCustomSettingInt(u"  "_s, 1);
        QTest::ignoreMessage(QtWarningMsg, "ERROR: Key was empty");
        QCOMPARE(settings.getCustomSettingInt(u""_s, 3), 3);
        QCOMPARE(changed.size(), 0);
    }

    void nothingIsWrittenBeforeAChange()
    {
        {
            const Settings settings(names);
        }
        QVERIFY(QDir(m_dir->path()).isEmpty());
    }

    void theDiskSeesOneWriteInTenSeconds()
    {
        Settings settings(names, clock());
        settings.setCustomSettingInt(u"k"_s, 1); // long after the last one, which never was
        QCOMPARE(onDisk(u"k"_s), 1);
        m_now += 3000;
        settings.setCustomSettingInt(u"k"_s, 2);
        QCOMPARE(settings.scheduledSyncMs(), 7000);
        m_now += 1000;
        settings.setCustomSettingInt(u"k"_s, 3);
        QCOMPARE(settings.scheduledSyncMs(), 7000); // the wait is not begun anew
        QCOMPARE(onDisk(u"k"_s), 1);
        m_now += 6000;
        settings.delayedSync(); // as the timer does
        QCOMPARE(onDisk(u"k"_s), 3);
        QVERIFY(!settings.isDirty());
        QCOMPARE(settings.scheduledSyncMs(), -1);
    }

    void aChangeIsWrittenAtOnce_data()
    {
        QTest::addColumn<qint64>("passed");
        QTest::newRow("twenty seconds after the last write") << qint64(20'000);
        QTest::newRow("when the clock was set back") << qint64(-3'600'000);
    }

    void aChangeIsWrittenAtOnce()
    {
        QFETCH(const qint64, passed);
        Settings settings(names, clock());
        settings.setCustomSettingInt(u"k"_s, 1);
        m_now += passed;
        settings.setCustomSettingInt(u"k"_s, 2);
        QCOMPARE(onDisk(u"k"_s), 2);
    }

    void whatIsPendingIsWrittenAtTheEnd()
    {
        Settings settings(names, clock());
        settings.setCustomSettingInt(u"k"_s, 1);
        settings.setCustomSettingInt(u"k"_s, 2);
        QStringList tasks;
        auto &lifecycle = store::ShutdownLifecycle::instance();
        connect(&lifecycle, &store::ShutdownLifecycle::changed, &settings, [&] {
            for (const auto &entry : lifecycle.entries())
                tasks.append(entry.task.title + u' ' + entry.task.description + u' ' +
                             entry.task.name);
        });
        QVERIFY(lifecycle.finishWork(1h));
        QCOMPARE(onDisk(u"k"_s), 2);
        QCOMPARE(tasks, QStringList{u"Settings Flushing settings.flush.Test Corvane.ini"_s});
        QVERIFY(lifecycle.finishWork(1h)); // nothing is dirty now
        QCOMPARE(tasks.size(), 1);
    }

    void whatOthersWroteStays()
    {
        Settings first(names, clock());
        Settings second(names, clock());
        first.setCustomSettingInt(u"mine"_s, 1);
        first.setCustomSettingInt(u"both"_s, 1);
        first.flush();
        second.setCustomSettingInt(u"both"_s, 2);
        second.flush();
        QCOMPARE(onDisk(u"mine"_s), 1);
        QCOMPARE(onDisk(u"both"_s), 2);
        QCOMPARE(second.getCustomSettingInt(u"mine"_s), 1);
        // Neither the size nor the time of the file need tell.
        const QDateTime time = QFileInfo(path()).lastModified();
        first.setCustomSettingInt(u"mine"_s, 3);
        first.flush();
        QFile file(path());
        QVERIFY(file.open(QIODevice::ReadWrite) &&
                file.setFileTime(time, QFileDevice::FileModificationTime));
        file.close();
        second.setCustomSettingInt(u"both"_s, 4);
        second.flush();
        QCOMPARE(onDisk(u"mine"_s), 3);
        QCOMPARE(onDisk(u"both"_s), 4);
    }

    void aFolderIsLockedByOneAtATime()
    {
        using store::FolderLock;
        Settings settings(names);
        const QString folder = QFileInfo(settings.filePath()).path();
        QVERIFY(!FolderLock(folder).isHeld()); // there is none yet
        QVERIFY(QDir().mkpath(folder));
        {
            const FolderLock first(folder);
            QVERIFY(first.isHeld());
            QVERIFY(!FolderLock(folder, 0ms).isHeld());
        }
        const FolderLock next(folder, 0ms);
        QVERIFY(next.isHeld());
        QVERIFY(QDir(folder).isEmpty());
        settings.setCustomSettingInt(u"k"_s, 1); // whoever does not let go is not waited for
        QCOMPARE(onDisk(u"k"_s), 1);
    }

    void aFailedWriteLeavesTheOldFile()
    {
        const Quiet quiet;
        for (int failing = 1;; ++failing) {
            Settings settings(names, clock());
            settings.setCustomSettingInt(u"k"_s, 1);
            settings.setCustomSettingInt(u"k"_s, 2);
            const store::FaultInjection fault(failing);
            settings.flush();
            if (!fault.hasFired()) {
                QVERIFY(failing > 3);
                QCOMPARE(onDisk(u"k"_s), 2);
                return;
            }
            QVERIFY(settings.isDirty());
            const int found = onDisk(u"k"_s);
            QVERIFY(found == 1 ||
                    found == 2); // 2: the new file is there, its folder was not synced
            settings.flush();    // the next attempt succeeds
            QCOMPARE(onDisk(u"k"_s), 2);
            m_now += 20'000;
        }
    }

    void aDamagedFileIsSetAside_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("text") << "this is no settings file\n"_ba;
        QTest::newRow("binary") << QByteArray("\x7f"
                                              "ELF\0\1\2\3\n\xff\xfe",
                                              11);
        QTest::newRow("values that claim any type and size")
            << "[Corvane]\ncustom\\k=@Variant(\\0\\0\\0\\t\\xff\\xff\\xff\\xff)\n"_ba;
        QTest::newRow("larger than any") << QByteArray(17 * 1024 * 1024, 'a');
    }

    void aDamagedFileIsSetAside()
    {
        QFETCH(const QByteArray, content);
        QVERIFY(support::put(path(), content));
        QTest::ignoreMessage(QtWarningMsg,
                             warning(u"WARNING: '.*Test Corvane.ini' was kept as .*damaged.*"_s));
        {
            Settings settings(names);
            QCOMPARE(settings.getCustomSettingInt(u"k"_s, 5), 5);
            settings.setCustomSettingInt(u"k"_s, 6);
        }
        QCOMPARE(onDisk(u"k"_s), 6);
        const QDir folder = QFileInfo(path()).dir();
        const QStringList kept = folder.entryList({u"*.damaged-*"_s});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(support::contentOf(folder.filePath(kept.first())), content);
    }

    void whatIsNoFileIsLeftAlone_data()
    {
        QTest::addColumn<bool>("fifo");
        QTest::newRow("a FIFO") << true;
        QTest::newRow("a folder") << false;
    }

    void whatIsNoFileIsLeftAlone()
    {
        QFETCH(const bool, fifo);
        QVERIFY(QDir().mkpath(QFileInfo(path()).path()));
        QVERIFY(fifo ? ::mkfifo(QFile::encodeName(path()).constData(), 0600) == 0
                     : QDir().mkdir(path()));
        QTest::ignoreMessage(QtWarningMsg,
                             warning(u"ERROR: Could not create Settings for Corvane, Test, "
                                     "test.example, Test Corvane: .*not a regular file"_s));
        Settings settings(names);
        QTest::ignoreMessage(QtWarningMsg, warning(u"ERROR: Could not write settings to .*"_s));
        settings.setCustomSettingInt(u"k"_s, 1);
        QCOMPARE(settings.getCustomSettingInt(u"k"_s), 1);
        QTest::ignoreMessage(QtWarningMsg, warning(u"ERROR: Could not write settings to .*"_s));
    }

    void equalSettingsAreEqualBytes()
    {
        QMap<QString, QVariant> values{{u"b"_s, 1}, {u"General/a"_s, 2}, {u"Z/y/x"_s, 3}};
        QCOMPARE(store::iniText(values), "[General]\nb=1\n\n[%General]\na=2\n\n[Z]\ny\\x=3\n"_ba);
        QCOMPARE(store::iniText({}), QByteArray());
    }

private:
    QString path() const { return m_dir->filePath(u"Test/Test Corvane.ini"_s); }

    Settings::Clock clock()
    {
        return [this] { return m_now; };
    }

    int onDisk(const QString &key) const
    {
        // From a copy under a fresh name: QSettings keeps what it has read of a path.
        static int copies = 0;
        const QString copy = m_dir->filePath(u"copy%1.ini"_s.arg(++copies));
        QFile::copy(path(), copy);
        return QSettings(copy, QSettings::IniFormat).value(u"Corvane/custom/"_s + key, -1).toInt();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    qint64 m_now = start;
};

QTEST_GUILESS_MAIN(TstSettings)
#include "tst_Settings.moc"
