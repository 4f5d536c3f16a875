#include <shader/Diagnostic.h>

using namespace Qt::StringLiterals;
using shader::Diagnostic;

class TstParseGlslangErrors : public QObject
{
    Q_OBJECT

private slots:
    void readsDiagnostics_data();
    void readsDiagnostics();
};

Q_DECLARE_METATYPE(QList<Diagnostic>)

void TstParseGlslangErrors::readsDiagnostics_data()
{
    using Severity = Diagnostic::Severity;
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<Diagnostic>>("diagnostics");
    QTest::newRow("empty") << u" \n"_s << QList<Diagnostic>{};
    QTest::newRow("error") << u"ERROR: 0:12: 'x' : undeclared identifier"_s
                           << QList<Diagnostic>{{12, 0, u"'x' : undeclared identifier"_s,
                                                 Severity::Error, u"0"_s}};
    QTest::newRow("column and several")
        << u"WARNING: a.frag:3:7: odd \nINFO: b:4: note\nERROR: 2 compilation errors."_s
        << QList<Diagnostic>{{3, 7, u"odd"_s, Severity::Warning, u"a.frag"_s},
                             {4, 0, u"note"_s, Severity::Info, u"b"_s}};
    QTest::newRow("other text") << u"  it broke\nbadly "_s
                                << QList<Diagnostic>{
                                       {-1, 0, u"it broke\nbadly"_s, Severity::Error, {}}};
    QTest::newRow("line beyond any number")
        << u"ERROR: 0:99999999999: far"_s
        << QList<Diagnostic>{{0, 0, u"far"_s, Severity::Error, u"0"_s}};
}

void TstParseGlslangErrors::readsDiagnostics()
{
    QFETCH(const QString, text);
    QFETCH(const QList<Diagnostic>, diagnostics);
    QCOMPARE(shader::parseGlslangErrors(text), diagnostics);
}

QTEST_APPLESS_MAIN(TstParseGlslangErrors)
#include "tst_parseGlslangErrors.moc"
