#include <glsl/Lexer.h>
#include <glsl/Words.h>

#include <QTest>

using namespace Qt::StringLiterals;
using glsl::Dialect;
using glsl::Token;
using glsl::TokenKind;
using glsl::WordRole;

namespace {

/// The tokens with bars between them; those of preprocessor lines in square brackets.
QString cut(QStringView source, const Dialect &dialect)
{
    QStringList texts;
    glsl::Lexer lexer(source, dialect);
    for (Token token = lexer.next(); !token.is(TokenKind::End); token = lexer.next())
        texts.append(token.inDirective ? u"[%1]"_s.arg(token.text) : token.text.toString());
    return texts.join(u'|');
}

} // namespace

/// What the dialects differ in; the field language, the strict one, is tested with its tokenizer.
class TstLexer : public QObject
{
    Q_OBJECT

private slots:
    void cutsByDialect_data();
    void cutsByDialect();
    void knowsTokens();
    void countsLines();
    void wordsHaveRoles_data();
    void wordsHaveRoles();
};

void TstLexer::cutsByDialect_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("shader");
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QString>("plain");
    const auto row = [](const char *name, const QString &source, const QString &shader,
                        const QString &expression, const QString &plain) {
        QTest::newRow(name) << source << shader << expression << plain;
    };
    row("comments", u"a/*b*/c//d\ne"_s, u"a|c|e"_s, u"a|c|e"_s, u"a|/|*|b|*|/|c|/|/|d|e"_s);
    row("unfinished comment", u"a/*b"_s, u"a"_s, u"a"_s, u"a|/|*|b"_s);
    row("directive", u" #define A b\nc # d"_s, u"[#]|[define]|[A]|[b]|c|#|d"_s,
        u"#|define|A|b|c|#|d"_s, u"#|define|A|b|c|#|d"_s);
    row("directive over several lines", u"#a \\\nb /*\n*/ c \\\r\nd\ne"_s,
        u"[#]|[a]|[b]|[c]|[d]|e"_s, u"#|a|\\|b|c|\\|d|e"_s, u"#|a|\\|b|/|*|*|/|c|\\|d|e"_s);
    row("comment that carries a directive on", u"#a // b \\\nc\nd"_s, u"[#]|[a]|[c]|d"_s,
        u"#|a|c|d"_s, u"#|a|/|/|b|\\|c|d"_s);
    row("comment ends with its line", u"// b \\\nc"_s, u"c"_s, u"c"_s, u"/|/|b|\\|c"_s);
    row("backslash within a line", u"a \\ b"_s, u"a|\\|b"_s, u"a|\\|b"_s, u"a|\\|b"_s);
    row("quotes", u"\"a b\".c + \"d"_s, u"\"|a|b|\"|.|c|+|\"|d"_s, u"\"a b\"|.|c|+|\"|d"_s,
        u"\"|a|b|\"|.|c|+|\"|d"_s);
    row("letters behind a number belong to it", u"1.5lf 2x.y 0x1e+3 1e+3"_s,
        u"1.5lf|2x.y|0x1e|+|3|1e+3"_s, u"1.5lf|2x.y|0x1e|+|3|1e+3"_s,
        u"1.5lf|2x.y|0x1e|+|3|1e+3"_s);
    row("accents belong to a name", u"e\u0301x"_s, u"e\u0301x"_s, u"e\u0301x"_s, u"e\u0301x"_s);
    row("operators are long", u"a<<=b&&c^^d"_s, u"a|<<=|b|&&|c|^^|d"_s, u"a|<<=|b|&&|c|^^|d"_s,
        u"a|<<=|b|&&|c|^^|d"_s);
}

void TstLexer::cutsByDialect()
{
    QFETCH(const QString, source);
    QTEST(cut(source, glsl::shaderText), "shader");
    QTEST(cut(source, glsl::expressionText), "expression");
    QTEST(cut(source, glsl::plainText), "plain");
}

void TstLexer::knowsTokens()
{
    glsl::Lexer lexer(u"if(x) 2.0;\U0001F600", glsl::shaderText);
    const Token word = lexer.next();
    QVERIFY(word.isWord() && !word.isNumber() && word.is(TokenKind::If));
    const Token open = lexer.next();
    QVERIFY(open.opens() && !open.closes() && open.touches(word));
    const Token name = lexer.next();
    QVERIFY(name.isWord() && name.is(TokenKind::Identifier));
    QVERIFY(lexer.next().closes());
    const Token number = lexer.next();
    QVERIFY(number.isNumber() && !number.isWord() && !number.touches(name));
    QVERIFY(lexer.next().is(TokenKind::Semicolon));
    const Token face = lexer.next();
    QVERIFY(face.is(TokenKind::Unknown));
    QCOMPARE(face.length, 2);
    QVERIFY(lexer.next().is(TokenKind::End));
    QVERIFY(lexer.next().is(TokenKind::End));
}

void TstLexer::countsLines()
{
    const QString source = u"a\n#b \\\n/*\n*/c\n  d"_s;
    glsl::Lexer lexer(source, glsl::shaderText);
    QList<int> lines;
    QList<int> columns;
    for (Token token = lexer.next(); !token.is(TokenKind::End); token = lexer.next()) {
        lines.append(token.line);
        columns.append(token.column);
    }
    QCOMPARE(lines, (QList<int>{1, 2, 2, 4, 5}));
    QCOMPARE(columns, (QList<int>{1, 1, 2, 3, 3}));
}

void TstLexer::wordsHaveRoles_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<glsl::WordRoles>("roles");
    QTest::newRow("loop") << u"while"_s << glsl::WordRoles(WordRole::Nests);
    QTest::newRow("jump") << u"discard"_s << glsl::WordRoles(WordRole::Jumps);
    QTest::newRow("qualifier of shaders") << u"mediump"_s << glsl::WordRoles(WordRole::Qualifies);
    QTest::newRow("const") << u"const"_s << (WordRole::Qualifies | WordRole::Declares);
    QTest::newRow("struct") << u"struct"_s << glsl::WordRoles(WordRole::Declares);
    QTest::newRow("truth value") << u"true"_s << glsl::WordRoles();
    QTest::newRow("type") << u"vec3"_s << glsl::WordRoles();
    QTest::newRow("begins as a word") << u"whiles"_s << glsl::WordRoles();
    QTest::newRow("upper case") << u"While"_s << glsl::WordRoles();
    QTest::newRow("first letter without words") << u"z"_s << glsl::WordRoles();
    QTest::newRow("nothing") << QString() << glsl::WordRoles();
}

void TstLexer::wordsHaveRoles()
{
    QFETCH(const QString, word);
    QTEST(glsl::rolesOf(word), "roles");
}

QTEST_APPLESS_MAIN(TstLexer)
#include "tst_Lexer.moc"
