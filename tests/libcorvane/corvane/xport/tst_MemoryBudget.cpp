#include <corvane/xport/MemoryBudget.h>

#include <support/Files.h>

#include <QMap>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using corvane::xport::groupMemory;

using Files = QMap<QString, QByteArray>;

class TstMemoryBudget : public QObject
{
    Q_OBJECT

private slots:
    void narrowestGroupCounts_data()
    {
        QTest::addColumn<QByteArray>("groups");
        QTest::addColumn<Files>("files");
        QTest::addColumn<double>("left");
        const double unlimited = std::numeric_limits<double>::infinity();
        const QByteArray inner = "0::/user/shell\n";
        QTest::newRow("no groups") << QByteArray() << Files() << unlimited;
        QTest::newRow("not shown") << inner << Files() << unlimited;
        QTest::newRow("no limit") << inner << Files{{u"user/shell/memory.max"_s, "max\n"}}
                                  << unlimited;
        QTest::newRow("its own") << inner
                                 << Files{{u"user/shell/memory.max"_s, "1000\n"},
                                          {u"user/shell/memory.current"_s, "400\n"}}
                                 << 600.0;
        QTest::newRow("of one around it") << inner
                                          << Files{{u"user/shell/memory.max"_s, "1000\n"},
                                                   {u"user/memory.max"_s, "500\n"},
                                                   {u"user/memory.current"_s, "100\n"}}
                                          << 400.0;
        QTest::newRow("of a container")
            << QByteArray("0::/\n") << Files{{u"memory.max"_s, "700\n"}} << 700.0;
        QTest::newRow("files can be had back")
            << inner
            << Files{{u"user/memory.max"_s, "1000\n"},
                     {u"user/memory.current"_s, "900\n"},
                     {u"user/memory.stat"_s, "anon 200\ninactive_file 650\n"}}
            << 750.0;
        QTest::newRow("over its limit")
            << inner
            << Files{{u"user/memory.max"_s, "1000\n"}, {u"user/memory.current"_s, "1100\n"}} << 0.0;
        QTest::newRow("version 1")
            << QByteArray("5:devices:/a\n4:cpu,memory:/a/b\n0::/\n")
            << Files{{u"memory/a/memory.limit_in_bytes"_s, "1000\n"},
                     {u"memory/a/memory.usage_in_bytes"_s, "500\n"},
                     {u"memory/a/memory.stat"_s, "inactive_file 1\ntotal_inactive_file 100\n"},
                     {u"memory/a/b/memory.limit_in_bytes"_s, "9223372036854771712\n"}}
            << 600.0;
    }
    void narrowestGroupCounts()
    {
        QFETCH(QByteArray, groups);
        QFETCH(Files, files);
        QFETCH(double, left);
        const QTemporaryDir folder;
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            QVERIFY(support::put(folder.filePath(it.key()), it.value()));
        }
        QCOMPARE(groupMemory(folder.path(), groups), left);
    }
};

QTEST_APPLESS_MAIN(TstMemoryBudget)
#include "tst_MemoryBudget.moc"
