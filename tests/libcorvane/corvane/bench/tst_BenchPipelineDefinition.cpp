#include <corvane/bench/BenchPipelineDefinition.h>
#include <corvane/bench/BenchRequest.h>

#include <support/Files.h>

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::bench;

class TstBenchPipelineDefinition : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder.reset(new QTemporaryDir);
    }

    void missingKeysAreDefaults()
    {
        QString error;
        const auto definition = BenchPipelineDefinition::fromFile(written("{}", u"plain"_s), error);
        QVERIFY2(definition, qPrintable(error));
        QCOMPARE(*definition, (BenchPipelineDefinition{.name = u"plain"_s,
                                                       .extractor = u"MC"_s,
                                                       .cellSize = 0.0f,
                                                       .backend = u"CPU"_s,
                                                       .sealed = false,
                                                       .postprocess = {}}));
    }

    void whatIsWrittenIsRead()
    {
        const BenchPipelineDefinition definition{.name = u"dc \"fine\""_s,
                                                 .extractor = u"DC"_s,
                                                 .cellSize = 0.25f,
                                                 .backend = u"Native"_s,
                                                 .sealed = true,
                                                 .postprocess = {u"weld"_s, u"remesh(0.5)"_s}};
        QString error;
        QCOMPARE(definition.toJson().keys(),
                 (QStringList{u"backend"_s, u"cellSize"_s, u"extractor"_s, u"name"_s,
                              u"postprocess"_s, u"sealed"_s}));
        QCOMPARE(BenchPipelineDefinition::fromJson(definition.toJson(), error), definition);
    }

    void badFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *name, const QByteArray &text, const QString &error) {
            QTest::newRow(name) << text << error;
        };
        row("no JSON", "{", u"Bad JSON in %1: unterminated object"_s);
        row("no UTF-8", "{\"name\": \"\xff\"}", u"Bad JSON in %1: invalid UTF8 string"_s);
        row("endless", QByteArray(2 << 20, '['), u"Bad JSON in %1: it is larger than 1 MiB"_s);
        row("deep", QByteArray(10000, '['), u"Bad JSON in %1: too deeply nested document"_s);
        const auto bad = [&](const char *json, const QString &error) {
            row(json, json, u"Bad definition %1: "_s + error);
        };
        bad("[]", u"not an object"_s);
        bad(R"({"name": 4})", u"\"name\" must be a text"_s);
        bad(R"({"sealed": "yes"})", u"\"sealed\" must be true or false"_s);
        bad(R"({"cellSize": -1})", u"\"cellSize\" must be 0 or more"_s);
        bad(R"({"cellSize": 1e300})", u"\"cellSize\" must be 0 or more"_s);
        bad(R"({"postprocess": [1]})", u"\"postprocess\" must be a list of texts"_s);
        bad(R"({"postprocess": ["polish"]})", u"unknown postprocess step 'polish'"_s);
    }
    void badFilesAreRefused()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, error);
        const QString path = written(text, u"bad"_s);
        QString said;
        QVERIFY(!BenchPipelineDefinition::fromFile(path, said));
        QCOMPARE(said, error.arg(path));
    }

    void missingFilesAreRefused()
    {
        for (const QString &path : {m_folder->filePath(u"gone.json"_s), m_folder->path()}) {
            QString error;
            QVERIFY(!BenchPipelineDefinition::fromFile(path, error));
            QCOMPARE(error, u"Cannot open %1"_s.arg(path));
        }
    }

    void namesBecomeFileNames_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("fileNames");
        QTest::newRow("good ones") << QStringList{u"a-b.c_D1"_s} << QStringList{u"a-b.c_D1"_s};
        QTest::newRow("the same twice")
            << QStringList{u"a"_s, u"A"_s, u"a"_s} << QStringList{u"a"_s, u"A-2"_s, u"a-3"_s};
        QTest::newRow("out of the folder")
            << QStringList{u"../../x"_s, u"/etc/x"_s} << QStringList{u"_._.._x"_s, u"_etc_x"_s};
        QTest::newRow("hidden and empty") << QStringList{u".x"_s, QString(), QString()}
                                          << QStringList{u"_x"_s, QString(), u"-2"_s};
        QTest::newRow("taken by its own number")
            << QStringList{u"a"_s, u"a-2"_s, u"a"_s} << QStringList{u"a"_s, u"a-2"_s, u"a-3"_s};
    }
    void namesBecomeFileNames()
    {
        QFETCH(QStringList, names);
        QFETCH(QStringList, fileNames);
        QCOMPARE(uniqueFileNames(names), fileNames);
    }

private:
    QString written(const QByteArray &text, const QString &name) const
    {
        const QString path = m_folder->filePath(name + u".json"_s);
        return support::put(path, text) ? path : QString();
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TstBenchPipelineDefinition)
#include "tst_BenchPipelineDefinition.moc"
