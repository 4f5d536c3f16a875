#include <corvane/yaml/YamlParser.h>
#include <corvane/yaml/YamlSerializer.h>

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QVector3D>

using namespace Qt::StringLiterals;
using corvane::yaml::YamlParser;
using corvane::yaml::YamlSerializer;

using Map = QVariantMap;
using List = QVariantList;

class TstYamlSerializer : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void writesValues_data();
    void writesValues();
    void writesMaps_data();
    void writesMaps();
    void ordersKeys();
    void readsBackWhatItWrote_data();
    void readsBackWhatItWrote();
    void losslessReadsBackStrings_data();
    void losslessReadsBackStrings();
    void losslessReadsBackNumbers_data();
    void losslessReadsBackNumbers();
    void losslessReadsBackRandomTrees();
    void keysThatItCallsReadableAre();
    void textsThatItCallsReadableAre();
};

namespace {

QVariantMap parse(const QString &text)
{
    QList<YamlParser::ParseError> errors;
    const QVariantMap map = YamlParser().parseToVariantMap(text, errors);
    if (!errors.isEmpty())
        qWarning("%s in\n%s", qPrintable(errors.constFirst().toString()), qPrintable(text));
    return map;
}

YamlSerializer losslessSerializer()
{
    YamlSerializer::Options options;
    options.lossless = true;
    return YamlSerializer(options);
}

} // namespace

void TstYamlSerializer::writesValues_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << QVariant() << u"null"_s;
    QTest::newRow("true") << QVariant(true) << u"true"_s;
    QTest::newRow("int") << QVariant(-3) << u"-3"_s;
    QTest::newRow("unsigned") << QVariant(3u) << u"3"_s;
    QTest::newRow("half") << QVariant(0.5) << u"0.5"_s;
    QTest::newRow("whole double") << QVariant(3.0) << u"3.0"_s;
    QTest::newRow("zero") << QVariant(0.0) << u"0"_s;
    QTest::newRow("large") << QVariant(1e20) << u"1e+20"_s;
    QTest::newRow("large and whole") << QVariant(1e12) << u"1000000000000"_s;
    QTest::newRow("fifteen digits") << QVariant(0.1 + 0.2) << u"0.3"_s;
    QTest::newRow("word") << QVariant(u"mm"_s) << u"mm"_s;
    QTest::newRow("empty") << QVariant(u""_s) << u"\"\""_s;
    QTest::newRow("number-like") << QVariant(u"1.5"_s) << u"\"1.5\""_s;
    QTest::newRow("word-like") << QVariant(u"True"_s) << u"\"True\""_s;
    QTest::newRow("at sign") << QVariant(u"@floor"_s) << u"\"@floor\""_s;
    QTest::newRow("blank at the end") << QVariant(u"a "_s) << u"\"a \""_s;
    QTest::newRow("escapes") << QVariant(u"a\"b\\c\td:"_s) << u"\"a\\\"b\\\\c\\td:\""_s;
}

void TstYamlSerializer::writesValues()
{
    QFETCH(const QVariant, value);
    QTEST(YamlSerializer().serializeValue(value), "text");
}

void TstYamlSerializer::writesMaps_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << Map{} << u"{}"_s;
    QTest::newRow("blank line between top keys")
        << Map{{u"a"_s, 1}, {u"b"_s, 2}} << u"a: 1\n\nb: 2\n"_s;
    QTest::newRow("null") << Map{{u"a"_s, QVariant()}} << u"a:\n"_s;
    QTest::newRow("null of JSON") << Map{{u"a"_s, QVariant::fromValue(nullptr)}} << u"a:\n"_s;
    QTest::newRow("empty map and list")
        << Map{{u"a"_s, Map{}}, {u"b"_s, List{}}} << u"a: {}\n\nb: []\n"_s;
    QTest::newRow("nested") << Map{{u"a"_s, Map{{u"b"_s, 1}, {u"c"_s, 2}}}}
                            << u"a:\n  b: 1\n  c: 2\n"_s;
    QTest::newRow("expression") << Map{{u"a"_s, Map{{u"expr"_s, u"x*2"_s}, {u"fallback"_s, 1}}}}
                                << u"a: {expr: \"x*2\", fallback: 1}\n"_s;
    QTest::newRow("expression with a third key")
        << Map{{u"a"_s, Map{{u"expr"_s, u"x"_s}, {u"fallback"_s, 1}, {u"unit"_s, u"mm"_s}}}}
        << u"a:\n  expr: x\n  fallback: 1\n  unit: mm\n"_s;
    QTest::newRow("short list") << Map{{u"a"_s, List{1, u"b"_s, true}}} << u"a: [1, b, true]\n"_s;
    QTest::newRow("long list") << Map{{u"a"_s, List{1, 2, 3, 4, 5}}}
                               << u"a:\n  - 1\n  - 2\n  - 3\n  - 4\n  - 5\n"_s;
    QTest::newRow("strings") << Map{{u"a"_s, QStringList{u"x"_s, u"@y"_s}}}
                             << u"a: [x, \"@y\"]\n"_s;
    QTest::newRow("vector") << Map{{u"a"_s, QVector3D(1.0f, 0.1f, -2.5f)}}
                            << u"a: [1.0, 0.1, -2.5]\n"_s;
    QTest::newRow("text of lines") << Map{{u"a"_s, u"one\n  two"_s}} << u"a: |\n  one\n    two\n"_s;
    QTest::newRow("list of maps") << Map{{u"a"_s, List{Map{}, Map{{u"x"_s, 1},
                                                                  {u"y"_s, Map{{u"z"_s, 2}}}}}}}
                                  << u"a:\n  - {}\n  - x: 1\n    y:\n      z: 2\n"_s;
    QTest::newRow("map item that begins with lines")
        << Map{{u"a"_s, List{Map{{u"x"_s, u"one\ntwo"_s}, {u"y"_s, QVariant()}}}}}
        << u"a:\n  -\n    x: |\n      one\n      two\n    y: null\n"_s;
    QTest::newRow("list in a list")
        << Map{{u"a"_s, List{List{1, List{2}}, 3}}} << u"a:\n  - [1, [2]]\n  - 3\n"_s;
    QTest::newRow("lines in a list")
        << Map{{u"a"_s, List{u"one\ntwo"_s}}} << u"a:\n  - |\n    one\n    two\n"_s;
}

void TstYamlSerializer::writesMaps()
{
    QFETCH(const QVariantMap, map);
    QTEST(YamlSerializer().serializeMap(map), "text");
}

void TstYamlSerializer::ordersKeys()
{
    const Map map{{u"B"_s, 1}, {u"a"_s, 2}, {u"C"_s, 3}};
    QCOMPARE(YamlSerializer().serializeMap(map, 1), u" B: 1\n C: 3\n a: 2\n"_s);
    YamlSerializer::Options options;
    options.sortKeys = true;
    QCOMPARE(YamlSerializer(options).serializeMap(map, 1), u" a: 2\n B: 1\n C: 3\n"_s);
}

void TstYamlSerializer::readsBackWhatItWrote_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::newRow("values") << Map{{u"a"_s, 1.5},
                                   {u"b"_s, 7LL},
                                   {u"c"_s, u"1.5"_s},
                                   {u"d"_s, u"true"_s},
                                   {u"e"_s, QVariant()}};
    QTest::newRow("maps in lists in maps") << Map{
        {u"a"_s, List{Map{{u"m"_s, Map{{u"x"_s, List{1LL, 2LL, 3LL, 4LL, 5LL}}}}, {u"n"_s, 1LL}},
                      Map{{u"l"_s, List{Map{{u"y"_s, 2LL}}, 3LL}}, {u"z"_s, u"one\ntwo"_s}}}},
        {u"b"_s, Map{{u"c"_s, List{}}, {u"d"_s, Map{}}}}};
    QTest::newRow("definition with code")
        << Map{{u"definitions"_s,
                List{Map{{u"blend"_s, u"float blend = 0.5;\nblend *= k;"_s},
                         {u"id"_s, u"mine"_s},
                         {u"parameters"_s, List{Map{{u"name"_s, u"r"_s}, {u"type"_s, u"vec3"_s}}}},
                         {u"shaderCode"_s,
                          u"float sdf_mine(vec3 p, vec3 r) {\nreturn length(p) - r.x;\n}"_s}}}}};
}

void TstYamlSerializer::readsBackWhatItWrote()
{
    QFETCH(const QVariantMap, map);
    QCOMPARE(parse(YamlSerializer().serializeMap(map)), map);
    QCOMPARE(parse(losslessSerializer().serializeMap(map)), map);
}

void TstYamlSerializer::losslessReadsBackStrings_data()
{
    QTest::addColumn<QString>("text");
    const QStringList texts =
        uR"(say "hi"¦C:\dir¦it's¦it's "so"¦a: b¦- a¦-5¦[1, 2]¦{a: 1}¦a#b¦|¦>¦tab	here¦ edge ¦'¦"¦a, b)"
        uR"(¦@a:b¦x > 1 ? "a" : 'b'¦inf¦\¦(a, b¦]¦e¦0x1e¦1e-7¦0020e5b2-bf46¦No¦NaN¦größe: "5")"_s
            .split(u'¦');
    for (const QString &text : texts)
        QTest::newRow(qPrintable(text)) << text;
}

void TstYamlSerializer::losslessReadsBackStrings()
{
    QFETCH(const QString, text);
    const Map map{{u"flow"_s, List{text, 1LL, text}},
                  {u"items"_s, List{text, 1LL, text, 2LL, 3LL}},
                  {u"maps"_s, List{Map{{u"a"_s, text}, {u"b"_s, text}}}},
                  {u"value"_s, text},
                  {u"x"_s, Map{{u"expr"_s, text}, {u"fallback"_s, 1LL}}}};
    QCOMPARE(parse(losslessSerializer().serializeMap(map)), map);
}

void TstYamlSerializer::losslessReadsBackNumbers_data()
{
    QTest::addColumn<double>("number");
    for (const double number : {0.1 + 0.2, 1.0 / 3.0, 1e-320, 1.7976931348623157e308, -0.0, 1e15,
                                9007199254740993.0, 1e19, 123456789012345678.0, 1e-7, 5e20})
        QTest::newRow(QByteArray::number(number, 'g', 17).constData()) << number;
}

void TstYamlSerializer::losslessReadsBackNumbers()
{
    QFETCH(const double, number);
    const QString text = losslessSerializer().serializeMap({{u"x"_s, number}});
    const double read = parse(text).value(u"x"_s).toDouble();
    QCOMPARE(std::signbit(read), std::signbit(number));
    QVERIFY2(read == number, qPrintable(text));
    QCOMPARE(losslessSerializer().serializeMap(parse(text)), text);
}

namespace {

QString randomText(QRandomGenerator &random)
{
    static const QString characters = u"ab:#\"'[]{},|>-*@\\ 1.e~\t"_s;
    QString text;
    for (int i = random.bounded(1, 6); i > 0; --i)
        text += characters[random.bounded(int(characters.size()))];
    return text.contains(u'"') ? text.remove(u'\'') : text;
}

QVariant randomTree(QRandomGenerator &random, int depth)
{
    switch (random.bounded(depth > 3 ? 5 : 7)) {
    case 0:
        return QVariant();
    case 1:
        return qlonglong(random.bounded(-50, 50));
    case 2:
        return random.generateDouble() + 0.25;
    case 3:
        return random.bounded(2) == 1;
    case 4:
        // Loaded first, as a document's strings are: one of both kinds of quotes has no form that
        // reads back everywhere.
        return parse(u"x: "_s + randomText(random)).value(u"x"_s);
    case 5: {
        QVariantList list;
        for (int i = random.bounded(0, 7); i > 0; --i)
            list.append(randomTree(random, depth + 1));
        return list;
    }
    default: {
        QVariantMap map;
        for (int i = random.bounded(0, 4); i > 0; --i)
            map.insert(u"key%1"_s.arg(random.bounded(9)), randomTree(random, depth + 1));
        return map;
    }
    }
}

} // namespace

void TstYamlSerializer::losslessReadsBackRandomTrees()
{
    QRandomGenerator random(20240611);
    for (int i = 0; i < 3000; ++i) {
        const QVariantMap map{{u"root"_s, randomTree(random, 0)}};
        const QString text = losslessSerializer().serializeMap(map);
        const QVariantMap read = parse(text);
        QVERIFY2(read == map, qPrintable(text));
        QCOMPARE(losslessSerializer().serializeMap(read), text);
    }
}

void TstYamlSerializer::keysThatItCallsReadableAre()
{
    for (const QString &key :
         {u"cell_Size2"_s, u"outer width (mm)"_s, u"1.5"_s, u"größe"_s, u"null"_s})
        QVERIFY2(YamlSerializer::isReadableKey(key), qPrintable(key));
    QVERIFY(!YamlSerializer::isReadableKey({}));
    const QString characters = u"ab1 .-_:#'\"[]{}(),|>&*!=\\\n\t"_s;
    const QVariantList values{u"it's #1"_s,
                              u"#"_s,
                              u"a, 'b'"_s,
                              u"\"#\" and '#'"_s,
                              u"{a: '#'}"_s,
                              5,
                              QVariant(),
                              QVariantList{1, u"a #"_s},
                              QVariantMap{{u"expr"_s, u"a[1] > 2 ? 'x' : \"#\""_s}}};
    QRandomGenerator random(7);
    int readable = 0;
    for (int i = 0; i < 3000; ++i) {
        QString key;
        for (int length = random.bounded(1, 4); length > 0; --length)
            key += characters.at(random.bounded(characters.size()));
        if (!YamlSerializer::isReadableKey(key))
            continue;
        ++readable;
        const QVariantMap inner{{key, values.at(random.bounded(values.size()))},
                                {u"y"_s, randomTree(random, 1)}};
        const QVariantMap map{{key, inner}, {u"list"_s, QVariantList{inner, 1}}};
        const QString text = losslessSerializer().serializeMap(map);
        QVERIFY2(parse(text) == map, qPrintable(text));
    }
    QVERIFY(readable > 300);
}

void TstYamlSerializer::textsThatItCallsReadableAre()
{
    const QString characters = u"ab1 .-_:#'\"[]{}(),|>\\"_s;
    QRandomGenerator random(8);
    int readable = 0;
    for (int i = 0; i < 3000; ++i) {
        QString text;
        for (int length = random.bounded(1, 9); length > 0; --length)
            text += characters.at(random.bounded(characters.size()));
        QVariantMap map{{u"end"_s, 1}};
        if (YamlSerializer::isReadableText(text))
            map = {{u"line"_s, text}, {u"expression"_s, QVariantMap{{u"expr"_s, text}}}};
        if (YamlSerializer::isReadableText(text, true))
            map.insert(u"list"_s, QVariantList{text, QVariantMap{{u"a"_s, 1}}});
        readable += map.size() == 3 ? 1 : 0;
        const QString written = losslessSerializer().serializeMap(map);
        QVERIFY2(parse(written) == map, qPrintable(text + u'\n' + written));
    }
    QVERIFY(readable > 1000);
    QVERIFY(YamlSerializer::isReadableText(u"float f() {\n\n  return 1.0; // it's\n}\n"_s));
    QVERIFY(!YamlSerializer::isReadableText(u"#define A 1\nfloat f() { return A; }"_s));
}

QTEST_APPLESS_MAIN(TstYamlSerializer)
#include "tst_YamlSerializer.moc"
