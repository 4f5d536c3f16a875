#include <corvane/yaml/YamlParser.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using corvane::yaml::YamlParser;

class TstYamlParser : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void readsScalars_data();
    void readsScalars();
    void readsFlowValues_data();
    void readsFlowValues();
    void readsBlocks_data();
    void readsBlocks();
    void reportsErrorsAndGoesOn_data();
    void reportsErrorsAndGoesOn();
    void refusesWhatIsTooDeep_data();
    void refusesWhatIsTooDeep();
    void takesAsDeepAsAllowed_data();
    void takesAsDeepAsAllowed();
    void survivesJunk_data();
    void survivesJunk();
    void usesItsIndentSize();
};

namespace {

QVariantMap parse(const QString &text, int indentSize = 2)
{
    QList<YamlParser::ParseError> errors;
    const QVariantMap map = YamlParser(indentSize).parseToVariantMap(text, errors);
    for (const auto &error : std::as_const(errors))
        QTest::qFail(qPrintable(error.toString()), __FILE__, __LINE__);
    return map;
}

QStringList errorsOf(const QString &text)
{
    QList<YamlParser::ParseError> errors;
    (void)YamlParser().parseToVariantMap(text, errors);
    QStringList texts;
    for (const auto &error : std::as_const(errors))
        texts.append(error.toString());
    return texts;
}

} // namespace

void TstYamlParser::readsScalars_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("double") << u"x: 1.0"_s << QVariant(1.0);
    QTest::newRow("integer") << u"x: 1"_s << QVariant(1LL);
    QTest::newRow("negative") << u"x: -17"_s << QVariant(-17LL);
    QTest::newRow("exponent") << u"x: 1e3"_s << QVariant(1000.0);
    QTest::newRow("leading point") << u"x: .5"_s << QVariant(0.5);
    QTest::newRow("hexadecimal") << u"x: 0x10"_s << QVariant(u"0x10"_s);
    QTest::newRow("too large for a double") << u"x: 1e999"_s << QVariant(u"1e999"_s);
    QTest::newRow("yes") << u"x: yes"_s << QVariant(true);
    QTest::newRow("False") << u"x: False"_s << QVariant(false);
    QTest::newRow("tilde") << u"x: ~"_s << QVariant();
    QTest::newRow("null") << u"x: NULL"_s << QVariant();
    QTest::newRow("nothing") << u"x:"_s << QVariant();
    QTest::newRow("word with an e") << u"x: sphere"_s << QVariant(u"sphere"_s);
    QTest::newRow("infinity") << u"x: inf"_s << QVariant(u"inf"_s);
    QTest::newRow("no blank behind the colon") << u"x:5"_s << QVariant(5LL);
    QTest::newRow("second colon") << u"x: a:b"_s << QVariant(u"a:b"_s);
    QTest::newRow("double quotes") << u"x: \"a: b\""_s << QVariant(u"a: b"_s);
    QTest::newRow("escapes stay") << u"x: \"a\\nb\""_s << QVariant(u"a\\nb"_s);
    QTest::newRow("single quotes") << u"x: ' 1 '"_s << QVariant(u" 1 "_s);
    QTest::newRow("lone quote") << u"x: \""_s << QVariant(u"\""_s);
    QTest::newRow("comment without blank") << u"x: b#c"_s << QVariant(u"b"_s);
    QTest::newRow("hash in quotes") << u"x: \"b#c\" # d"_s << QVariant(u"b#c"_s);
    QTest::newRow("carriage return") << u"x: 1\r\n"_s << QVariant(1LL);
    QTest::newRow("byte order mark") << QChar(QChar::ByteOrderMark) + u"x: 1"_s << QVariant(1LL);
    QTest::newRow("last one wins") << u"x: 1\nx: 2"_s << QVariant(2LL);
}

void TstYamlParser::readsScalars()
{
    QFETCH(const QString, text);
    QFETCH(const QVariant, value);
    const QVariantMap map = parse(text);
    QCOMPARE(map.keys(), QStringList{u"x"_s});
    QCOMPARE(map.value(u"x"_s), value);
    QCOMPARE(map.value(u"x"_s).typeId(), value.typeId());
}

void TstYamlParser::readsFlowValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");
    using Map = QVariantMap;
    using List = QVariantList;
    QTest::newRow("nested") << u"[1, [2, 3], {a: 1}]"_s
                            << QVariant(List{1LL, List{2LL, 3LL}, Map{{u"a"_s, 1LL}}});
    QTest::newRow("trailing comma") << u"[1, 2,]"_s << QVariant(List{1LL, 2LL});
    QTest::newRow("hole") << u"[1, , 2]"_s << QVariant(List{1LL, QVariant(), 2LL});
    QTest::newRow("empty list") << u"[ ]"_s << QVariant(List{});
    QTest::newRow("empty map") << u"{ }"_s << QVariant(Map{});
    QTest::newRow("parentheses in a map")
        << u"{expr: max(a, b), fallback: 1}"_s
        << QVariant(Map{{u"expr"_s, u"max(a, b)"_s}, {u"fallback"_s, 1LL}});
    QTest::newRow("parentheses in a list") << u"[f(a, b)]"_s << QVariant(List{u"f(a"_s, u"b)"_s});
    QTest::newRow("comma in quotes")
        << u"[\"a, b\", 'c, d']"_s << QVariant(List{u"a, b"_s, u"c, d"_s});
    QTest::newRow("entry without colon") << u"{a: 1, b}"_s << QVariant(Map{{u"a"_s, 1LL}});
    QTest::newRow("not closed") << u"[1, 2"_s << QVariant(u"[1, 2"_s);
}

void TstYamlParser::readsFlowValues()
{
    QFETCH(const QString, text);
    QFETCH(const QVariant, value);
    QCOMPARE(YamlParser::parseValue(text), value);
    QCOMPARE(parse(u"x: "_s + text).value(u"x"_s), value);
}

void TstYamlParser::readsBlocks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariantMap>("map");
    using Map = QVariantMap;
    using List = QVariantList;
    QTest::newRow("empty") << u""_s << Map{};
    QTest::newRow("comments only") << u"# a\n\n  # b\n"_s << Map{};
    QTest::newRow("nested map") << u"a:\n  b:\n    c: 1\n  d: 2\ne: 3"_s
                                << Map{{u"a"_s, Map{{u"b"_s, Map{{u"c"_s, 1LL}}}, {u"d"_s, 2LL}}},
                                       {u"e"_s, 3LL}};
    QTest::newRow("stray deeper line")
        << u"a: 1\n   b: 2\nc: 3"_s << Map{{u"a"_s, 1LL}, {u"c"_s, 3LL}};
    QTest::newRow("list") << u"a:\n  - 1\n  - x"_s << Map{{u"a"_s, List{1LL, u"x"_s}}};
    QTest::newRow("list at its key's indent")
        << u"a:\n- 1\n- 2\nb: 3"_s << Map{{u"a"_s, List{1LL, 2LL}}, {u"b"_s, 3LL}};
    QTest::newRow("list of maps") << u"a:\n  - x: 1\n    y: 2\n  - x: 3"_s
                                  << Map{{u"a"_s, List{Map{{u"x"_s, 1LL}, {u"y"_s, 2LL}},
                                                       Map{{u"x"_s, 3LL}}}}};
    QTest::newRow("list of maps that begin with nothing")
        << u"a:\n  - x:\n    y: 2"_s
        << Map{{u"a"_s, List{Map{{u"x"_s, QVariant()}, {u"y"_s, 2LL}}}}};
    QTest::newRow("map below a bare dash")
        << u"a:\n  -\n    x: 1\n    y:\n      z: 2"_s
        << Map{{u"a"_s, List{Map{{u"x"_s, 1LL}, {u"y"_s, Map{{u"z"_s, 2LL}}}}}}};
    QTest::newRow("bare dash alone") << u"a:\n  -\n  - 1"_s << Map{{u"a"_s, List{QVariant(), 1LL}}};
    QTest::newRow("nested dashes are flattened")
        << u"a:\n  -\n    - 1\n    - 2\n  - 3"_s << Map{{u"a"_s, List{1LL, 2LL, 3LL}}};
    QTest::newRow("deeper item of a map item")
        << u"a:\n  - x:\n    - 1"_s << Map{{u"a"_s, List{Map{{u"x"_s, QVariant()}}, 1LL}}};
    QTest::newRow("item splits at a colon")
        << u"a:\n  - \"b: c\""_s << Map{{u"a"_s, List{Map{{u"\"b"_s, u"c\""_s}}}}};
    QTest::newRow("flow list as item")
        << u"a:\n  - [b:c, 1]"_s << Map{{u"a"_s, List{List{u"b:c"_s, 1LL}}}};
    QTest::newRow("text block") << u"a: |\n  one\n\n      two # cut\n  // it's # kept\nb: 1"_s
                                << Map{{u"a"_s, u"one\ntwo\n// it's # kept"_s}, {u"b"_s, 1LL}};
    QTest::newRow("text block of items")
        << u"a: >\n  - x: 1\n  y:"_s << Map{{u"a"_s, u"- x: 1\ny:"_s}};
    QTest::newRow("text block too shallow")
        << u"a: |\n one\nb: 1"_s << Map{{u"a"_s, u""_s}, {u"b"_s, 1LL}};
    QTest::newRow("text block in a map item")
        << u"a:\n  - x: 1\n    y: |\n      one\n      two\n    z: 2"_s
        << Map{{u"a"_s, List{Map{{u"x"_s, 1LL}, {u"y"_s, u"one\ntwo"_s}, {u"z"_s, 2LL}}}}};
    QTest::newRow("text block at a map item's first key")
        << u"a:\n  - y: |\n      one\n      two\n    z: 2"_s
        << Map{{u"a"_s, List{Map{{u"y"_s, u"one\ntwo"_s}, {u"z"_s, 2LL}}}}};
    QTest::newRow("text block as item")
        << u"a:\n  - |\n    one\n    two\n  - 3"_s << Map{{u"a"_s, List{u"one\ntwo"_s, 3LL}}};
    QTest::newRow("tab counts as the indent size")
        << u"a:\n\tb: 1\n  c: 2"_s << Map{{u"a"_s, Map{{u"b"_s, 1LL}, {u"c"_s, 2LL}}}};
}

void TstYamlParser::readsBlocks()
{
    QFETCH(const QString, text);
    QFETCH(const QVariantMap, map);
    QCOMPARE(parse(text), map);
    QCOMPARE(parse(QString(text).replace(u'\n', u"\r\n"_s)), map);
}

void TstYamlParser::reportsErrorsAndGoesOn_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("errors");
    QTest::newRow("list item") << u"a: 1\n\n- 2\nb: 3"_s
                               << QStringList{
                                      u"Line 3, column 1: Unexpected list item at block level"_s};
    QTest::newRow("deeper list item")
        << u"a: 1\n  - 2\nb: 3"_s
        << QStringList{u"Line 2, column 1: Unexpected list item at block level"_s};
    QTest::newRow("no key") << u"# c\nword\nb: 3\n: 4"_s
                            << QStringList{u"Line 2, column 1: Expected key: value pair"_s,
                                           u"Line 4, column 1: Expected key: value pair"_s};
}

void TstYamlParser::reportsErrorsAndGoesOn()
{
    QFETCH(const QString, text);
    QTEST(errorsOf(text), "errors");
    QList<YamlParser::ParseError> ignored;
    QCOMPARE(YamlParser().parseToVariantMap(text, ignored).value(u"b"_s), QVariant(3LL));
}

namespace {

QString deepBlocks(int depth)
{
    QString text;
    for (int i = 0; i <= depth; ++i)
        text += QString(i, u' ') + u"a:\n"_s;
    return text;
}

QString deepFlow(int depth, char16_t open, char16_t close, const QString &key)
{
    QString text = u"x: "_s;
    for (int i = 0; i < depth; ++i)
        text += QString(open) + key;
    return text + QString(depth, QChar(close)) + u'\n';
}

QString deepListItems(int depth)
{
    QString text = u"x:\n"_s;
    for (int i = 0; i < depth; ++i)
        text += QString(i, u' ') + u"-\n"_s;
    return text;
}

void addDepthRows(int depth)
{
    QTest::addColumn<QString>("text");
    QTest::newRow("maps") << deepBlocks(depth);
    QTest::newRow("flow lists") << deepFlow(depth, u'[', u']', {});
    QTest::newRow("flow maps") << deepFlow(depth, u'{', u'}', u"a:"_s);
    QTest::newRow("bare dashes") << deepListItems(depth);
}

} // namespace

void TstYamlParser::refusesWhatIsTooDeep_data()
{
    addDepthRows(YamlParser::maxDepth + 1);
    QTest::newRow("100000 flow lists") << deepFlow(100000, u'[', u']', {});
    QTest::newRow("2000 maps") << deepBlocks(2000);
}

void TstYamlParser::refusesWhatIsTooDeep()
{
    QFETCH(const QString, text);
    const QStringList errors = errorsOf(text + u"b: 3\n- 4\n"_s);
    QCOMPARE(errors.size(), 2);
    QVERIFY2(errors[0].endsWith(u"are nested deeper than 256 levels"_s), qPrintable(errors[0]));
    QVERIFY(errors[1].endsWith(u"Unexpected list item at block level"_s));
}

void TstYamlParser::takesAsDeepAsAllowed_data()
{
    addDepthRows(YamlParser::maxDepth);
}

void TstYamlParser::takesAsDeepAsAllowed()
{
    QFETCH(const QString, text);
    QCOMPARE(errorsOf(text), QStringList());
}

void TstYamlParser::survivesJunk_data()
{
    QTest::addColumn<QString>("text");
    QString noise;
    for (int i = 0; i < 20000; ++i)
        noise += QChar(char16_t((i * 7919 + i / 3) % 0x260));
    QTest::newRow("noise") << noise;
    QTest::newRow("nul") << QString(5000, QChar(u'\0'));
    QTest::newRow("tabs") << QString(100000, u'\t') + u"a: 1"_s;
    QTest::newRow("quotes") << QString(100000, u'"');
    QTest::newRow("brackets") << u"a: "_s + QString(100000, u'[');
    QTest::newRow("dashes") << QString(100000, u'-');
    QTest::newRow("colons") << QString(100000, u':');
    QTest::newRow("an error on each line") << u"junk\n"_s.repeated(100000);
    QTest::newRow("surrogates") << QString(1000, QChar(char16_t(0xd800)));
}

void TstYamlParser::survivesJunk()
{
    QFETCH(const QString, text);
    QList<YamlParser::ParseError> errors;
    const QVariantMap map = YamlParser().parseToVariantMap(text, errors);
    QVERIFY(map.size() < 20000);
    QVERIFY(errors.size() <= YamlParser::maxErrors);
}

void TstYamlParser::usesItsIndentSize()
{
    const QVariantMap map = parse(u"a: |\n\tone\n  two: 3\nb:\n\tc: 1\n    d: 2"_s, 4);
    QCOMPARE(map.value(u"a"_s), QVariant(u"one"_s));
    QCOMPARE(map.value(u"b"_s), QVariant(QVariantMap{{u"c"_s, 1LL}, {u"d"_s, 2LL}}));
}

QTEST_APPLESS_MAIN(TstYamlParser)
#include "tst_YamlParser.moc"
