#include <eval/internal/frontend/Tokenizer.h>

#include "AstText.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace eval::internal;
using K = TokenKind;

Q_DECLARE_METATYPE(QList<TokenKind>)

class TstTokenizer : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cutsIntoKinds_data();
    void cutsIntoKinds();
    void operatorsHaveTheirNumbers_data();
    void operatorsHaveTheirNumbers();
    void wordsHaveTheirNumbers_data();
    void wordsHaveTheirNumbers();
    void everyTypeButStringIsAKeyword();
    void reportsUnexpectedCharacters_data();
    void reportsUnexpectedCharacters();
    void manyErrorsAreCut();
};

void TstTokenizer::cutsIntoKinds_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QList<TokenKind>>("kinds");
    const auto row = [](const char *name, const QString &source, const QStringList &texts,
                        const QList<TokenKind> &kinds) {
        QTest::newRow(name) << source << texts << kinds;
    };
    row("nothing", u""_s, {}, {});
    row("integers", u"0 42 0x1F 0Xab"_s, {u"0"_s, u"42"_s, u"0x1F"_s, u"0Xab"_s},
        {K::IntLiteral, K::IntLiteral, K::IntLiteral, K::IntLiteral});
    row("suffixes", u"1u 2U 3l 4L 5ul 6LU"_s,
        {u"1u"_s, u"2U"_s, u"3l"_s, u"4L"_s, u"5ul"_s, u"6LU"_s},
        {K::UnsignedLiteral, K::UnsignedLiteral, K::Int64Literal, K::Int64Literal,
         K::Unsigned64Literal, K::Unsigned64Literal});
    row("fractions", u"1. .5 1.5 2e3 2.5E-3 1e+2 7f 1.0F"_s,
        {u"1."_s, u".5"_s, u"1.5"_s, u"2e3"_s, u"2.5E-3"_s, u"1e+2"_s, u"7f"_s, u"1.0F"_s},
        QList<TokenKind>(8, K::FloatLiteral));
    row("exponent without digits", u"1e"_s, {u"1e"_s}, {K::FloatLiteral});
    row("f ends a number", u"1fu"_s, {u"1f"_s, u"u"_s}, {K::FloatLiteral, K::Identifier});
    row("f after l is left", u"1lf"_s, {u"1l"_s, u"f"_s}, {K::Int64Literal, K::Identifier});
    row("a fraction is never double", u"1.5lf"_s, {u"1.5l"_s, u"f"_s},
        {K::FloatLiteral, K::Identifier});
    row("hex digits are no suffix", u"0xFFu"_s, {u"0xFFu"_s}, {K::UnsignedLiteral});
    row("two fractions", u"1.2.3"_s, {u"1.2"_s, u".3"_s}, {K::FloatLiteral, K::FloatLiteral});
    row("member", u"a.xy"_s, {u"a"_s, u"."_s, u"xy"_s}, {K::Identifier, K::Dot, K::Identifier});
    row("names", u"_a b2 großé string"_s, {u"_a"_s, u"b2"_s, u"großé"_s, u"string"_s},
        QList<TokenKind>(4, K::Identifier));
    row("truth values", u"true false"_s, {u"true"_s, u"false"_s}, {K::BoolLiteral, K::BoolLiteral});
    row("comments", u"a // b\n/* c\n * d */ e /**/f"_s, {u"a"_s, u"e"_s, u"f"_s},
        QList<TokenKind>(3, K::Identifier));
    row("open comment ends the text", u"a /* b"_s, {u"a"_s}, {K::Identifier});
    row("longest operator first", u"a<<=b<=c<d++ +e"_s,
        {u"a"_s, u"<<="_s, u"b"_s, u"<="_s, u"c"_s, u"<"_s, u"d"_s, u"++"_s, u"+"_s, u"e"_s},
        {K::Identifier, K::ShiftLeftAssign, K::Identifier, K::LessEqual, K::Identifier, K::Less,
         K::Identifier, K::Increment, K::Plus, K::Identifier});
}

void TstTokenizer::cutsIntoKinds()
{
    QFETCH(const QString, source);
    QFETCH(const QStringList, texts);
    QFETCH(QList<TokenKind>, kinds);
    Tokenizer tokenizer(source);
    QStringList foundTexts;
    QList<TokenKind> foundKinds;
    for (const Token &token : tokenizer.tokenize()) {
        foundTexts.append(token.text.toString());
        foundKinds.append(token.kind);
    }
    kinds.append(K::End);
    QCOMPARE(foundTexts, texts + QStringList{QString()});
    QCOMPARE(foundKinds, kinds);
    QVERIFY(tokenizer.diagnostics().isEmpty());
}

static void addNumberedRows(const QString &words, int first)
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("kind");
    int kind = first;
    for (const QString &word : words.split(u' '))
        QTest::addRow("%s", qPrintable(word)) << word << kind++;
}

void TstTokenizer::operatorsHaveTheirNumbers_data()
{
    addNumberedRows(u"( ) { } [ ] , ; : ? . + - * / % == != < > <= >= && || ^^ ! & | ^ ~ << >> "
                    "= += -= *= /= %= &= |= ^= <<= >>= ++ --"_s,
                    28);
}

void TstTokenizer::operatorsHaveTheirNumbers()
{
    QFETCH(const QString, source);
    QFETCH(const int, kind);
    QCOMPARE(static_cast<int>(Tokenizer(source).next().kind), kind);
}

void TstTokenizer::wordsHaveTheirNumbers_data()
{
    addNumberedRows(u"if else for while do switch case default break continue return discard "
                    "in out inout const struct"_s,
                    9);
}

void TstTokenizer::wordsHaveTheirNumbers()
{
    operatorsHaveTheirNumbers();
}

void TstTokenizer::everyTypeButStringIsAKeyword()
{
    for (int i = 0; i < 48; ++i) {
        const auto type = static_cast<eval::Type>(i);
        const QString keyword = eval::typeName(type);
        const TokenKind wanted = type == eval::Type::String ? K::Identifier : K::TypeKeyword;
        QVERIFY2(Tokenizer(keyword).next().kind == wanted, qPrintable(keyword));
        QCOMPARE(eval::typeFromKeyword(keyword), type);
    }
    QCOMPARE(eval::typeName(static_cast<eval::Type>(48)), u"<unknown>"_s);
    QCOMPARE(eval::typeName(static_cast<eval::Type>(4711)), u"<unknown>"_s);
}

void TstTokenizer::reportsUnexpectedCharacters_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("errors");
    QTest::addColumn<qsizetype>("tokens");
    QTest::newRow("hash") << u"a # b"_s << QStringList{u"1:3 unexpected character '#'"_s}
                          << qsizetype(2);
    QTest::newRow("two") << u"@\n $"_s
                         << QStringList{u"1:1 unexpected character '@'"_s,
                                        u"2:2 unexpected character '$'"_s}
                         << qsizetype(0);
    QTest::newRow("beyond the basic plane")
        << u"x😀y"_s << QStringList{u"1:2 unexpected character '😀'"_s} << qsizetype(2);
    QTest::newRow("half of a pair")
        << QString(QChar(0xD83D))
        << QStringList{u"1:1 unexpected character '%1'"_s.arg(QChar(0xD83D))} << qsizetype(0);
}

void TstTokenizer::reportsUnexpectedCharacters()
{
    QFETCH(const QString, source);
    QFETCH(const QStringList, errors);
    QFETCH(const qsizetype, tokens);
    Tokenizer tokenizer(source);
    QCOMPARE(tokenizer.tokenize().size(), tokens + 1);
    QCOMPARE(asttext::texts(tokenizer.diagnostics().kept()), errors);
    QCOMPARE(tokenizer.diagnostics().kept().first().category, eval::DiagnosticCategory::Syntax);
    QCOMPARE(tokenizer.diagnostics().kept().first().span.length, 1);
}

void TstTokenizer::manyErrorsAreCut()
{
    const QString source(1'000'000, u'#');
    Tokenizer tokenizer(source);
    QCOMPARE(tokenizer.tokenize().size(), 1);
    QCOMPARE(tokenizer.diagnostics().kept().size(), DiagnosticList::limit);
    QVERIFY(tokenizer.diagnostics().stopsCompile());
}

QTEST_APPLESS_MAIN(TstTokenizer)
#include "tst_Tokenizer.moc"
