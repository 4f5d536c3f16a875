#include <corvane/compile/CorvaneDSLParser.h>

#include <QFile>
#include <QPointer>
#include <QRegularExpression>

#include <sys/stat.h>
#include <thread>

using namespace Qt::StringLiterals;
using namespace corvane::model;

class TstCorvaneDSLParser : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void hostileTextIsAnAnswer_data();
    void hostileTextIsAnAnswer();
    void fileThatCannotBeReadIsAnError_data();
    void fileThatCannotBeReadIsAnError();
    void pipeIsRead();
    void byteOrderMarksAreUnderstood_data();
    void byteOrderMarksAreUnderstood();
    void newerVersionIsCompiled();
    void errorsAreLogged();
    void manyItemsLoad();
    void documentOutlivesNeitherOwnerTwice();

private:
    QString write(const QByteArray &bytes)
    {
        QFile file(m_folder.filePath(u"scene.corvane"_s));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()
                   ? file.fileName()
                   : QString();
    }

    QTemporaryDir m_folder;
};

void TstCorvaneDSLParser::hostileTextIsAnAnswer_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("ok");
    QByteArray deep;
    for (int i = 0; i < 1000; ++i)
        deep += QByteArray(i, ' ') + "a:\n";
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("binary") << QByteArray("\x7f"
                                          "ELF\0\1\2\xff\xfe\0\n\0\xc0\xaf\n",
                                          15)
                            << false;
    QTest::newRow("deep blocks") << deep << false;
    QTest::newRow("deep flow") << "a: " + QByteArray(5000, '[') + QByteArray(5000, ']') << false;
    QTest::newRow("a word for the version") << QByteArray("formatVersion: new\n") << true;
    QTest::newRow("cut short") << QByteArray("corvane:\n  instances:\n    a:\n      ty") << false;
    QTest::newRow("wrong kinds")
        << QByteArray("name: [1]\nvarset: 3\nvarsets: {a: 1}\nsettings: x\ninstances: [1, 2]\n"
                      "materials: {m: 2}\ndefinitions: {}\nroots: {a: 1}\nmetadata: no\n")
        << true;
    // The exclusive or of their words is one and the same number.
    QByteArray alike = "instances:\n";
    for (int i = 0; i < 6000; ++i)
        alike += QString::asprintf("  a%d:\n    id: %08x-0000-4000-8000-%012x\n    type: sphere\n",
                                   i, unsigned(i), unsigned(i))
                     .toUtf8();
    QTest::newRow("ids of one hash") << alike << false;
    alike.replace("instances:", "formatVersion: 2\ninstances:");
    QTest::newRow("ids of one hash, version 2") << alike << false;
    QTest::newRow("item of wrong kinds")
        << QByteArray("instances:\n  a:\n    type: [1]\n    params: 5\n    tags: {a: 1}\n"
                      "    id: 7\n    translate: x\n    sortOrder: 1e99\n    capabilities: -1\n")
        << true;
}

void TstCorvaneDSLParser::hostileTextIsAnAnswer()
{
    QFETCH(const QByteArray, text);
    QFETCH(const bool, ok);
    const ParseResult result = CorvaneDSLParser::parseFile(write(text));
    QCOMPARE(result.ok(), ok);
    QCOMPARE(result.errors.isEmpty(), ok);
    if (ok) // what was understood can be saved, and read again
        QVERIFY(Corvane::fromVariantMap(result.scene->toVariantMap()));
}

void TstCorvaneDSLParser::fileThatCannotBeReadIsAnError_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error");
    QTest::newRow("absent") << m_folder.filePath(u"absent"_s) << u"^Failed to open file: .+"_s;
    QTest::newRow("folder") << m_folder.path() << u"^Failed to (open|read) file: .+"_s;
    QTest::newRow("endless device")
        << u"/dev/zero"_s << u"^Failed to open file: it is larger than 64 MiB$"_s;
}

void TstCorvaneDSLParser::fileThatCannotBeReadIsAnError()
{
    QFETCH(const QString, path);
    QFETCH(const QString, error);
    const ParseResult result = CorvaneDSLParser::parseFile(path);
    QVERIFY(!result.scene);
    QCOMPARE(result.errors.size(), 1);
    QVERIFY2(QRegularExpression(error).match(result.errors.first().message).hasMatch(),
             qPrintable(result.errors.first().message));
}

void TstCorvaneDSLParser::pipeIsRead()
{
    const QString path = m_folder.filePath(u"pipe"_s);
    QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    std::thread writer([path] {
        QFile pipe(path);
        if (pipe.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            pipe.write("name: piped\n");
    });
    const ParseResult result = CorvaneDSLParser::parseFile(path);
    writer.join();
    QVERIFY(result.ok());
    QCOMPARE(result.scene->name(), u"piped"_s);
}

void TstCorvaneDSLParser::byteOrderMarksAreUnderstood_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("warnings");
    QTest::newRow("none") << QByteArray("name: \xc3\xa4\n") << u"\u00e4"_s << 0;
    QTest::newRow("UTF-8") << QByteArray("\xef\xbb\xbfname: a\n") << u"a"_s << 0;
    QTest::newRow("UTF-16") << QByteArray("\xff\xfen\0a\0m\0e\0:\0 \0a\0\n\0", 18) << u"a"_s << 0;
    QTest::newRow("CR LF") << QByteArray("name: a\r\nunits: m\r\n") << u"a"_s << 0;
    QTest::newRow("Latin-1") << QByteArray("name: \xe4\n") << u"\ufffd"_s << 1;
}

void TstCorvaneDSLParser::byteOrderMarksAreUnderstood()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QString, name);
    const ParseResult result = CorvaneDSLParser::parseFile(write(text));
    QVERIFY(result.ok());
    QCOMPARE(result.scene->name(), name);
    QTEST(int(result.warnings.size()), "warnings");
}

void TstCorvaneDSLParser::newerVersionIsCompiled()
{
    const QString text = uR"(formatVersion: 2
corvane:
  name: x
  varset: {width: 3}
  definitions:
    - id: mine
      name: Mine
  instances:
    ball: {type: sphere}
  roots: [ball]
)"_s;
    const ParseResult loaded = CorvaneDSLParser::parseText(text);
    QVERIFY(loaded.ok());
    QCOMPARE(loaded.scene->roots().size(), 1);
    const Instance outer = loaded.scene->instance(loaded.scene->roots().first());
    QCOMPARE(outer.provenance().sourceItemId, loaded.logicalScene->roots().first());
    // The geometry needs the definitions; the rest of the block is for those who edit the file.
    QVERIFY(loaded.scene->hasCustomDefinition(u"mine"_s));
    QCOMPARE(loaded.scene->name(), QString());
    QVERIFY(!loaded.scene->hasVariable(u"width"_s));
}

void TstCorvaneDSLParser::errorsAreLogged()
{
    QTest::ignoreMessage(QtWarningMsg, "Parse error: Line 1, column 1: Expected key: value pair");
    QVERIFY(!Corvane::loadFromFile(write("nonsense\n")));
    QTest::ignoreMessage(QtWarningMsg, "Parse warning: Root 'x' names no item and was dropped");
    QVERIFY(Corvane::loadFromFile(write("roots: [x]\n")));
}

void TstCorvaneDSLParser::manyItemsLoad()
{
    QByteArray text = "instances:\n";
    for (int i = 0; i < 20000; ++i) {
        const QByteArray number = QByteArray::number(i);
        text += "  i" + number +
                ":\n    type: union\n    params:\n      r: 1\n      children: [\"@i" +
                QByteArray::number(i / 2) + "\"]\n";
    }
    const ParseResult result = CorvaneDSLParser::parseFile(write(text));
    QVERIFY(result.ok());
    QCOMPARE(result.scene->items().size(), 20000);
    const QUuid last = result.scene->instanceIdByName(u"i19999"_s);
    QCOMPARE(result.scene->childInstanceIds(last),
             QList<QUuid>{result.scene->instanceIdByName(u"i9999"_s)});
}

void TstCorvaneDSLParser::documentOutlivesNeitherOwnerTwice()
{
    auto parent = std::make_unique<QObject>();
    QPointer<Corvane> document;
    {
        const auto scene = CorvaneDSLParser::parseText(u"name: x\n"_s, parent.get()).scene;
        document = scene.data();
        parent.reset();
        QVERIFY(!document);
    }
    parent = std::make_unique<QObject>();
    document = CorvaneDSLParser::parseText(u"name: x\n"_s, parent.get()).scene.data();
    QVERIFY(!document);
}

QTEST_GUILESS_MAIN(TstCorvaneDSLParser)
#include "tst_CorvaneDSLParser.moc"
