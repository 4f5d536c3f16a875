#include <corvane/eval/DefinitionWarnings.h>

#include "../shader/TestDefinitions.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace testing;
using namespace Qt::StringLiterals;
using corvane::eval::definitionFaults;

class TstDefinitionWarnings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void faultsAreToldInTheUsersWords_data();
    void faultsAreToldInTheUsersWords();
    void eachDefinitionIsBlamedForItsOwn();

private:
    QTemporaryDir m_dataHome; ///< where this run keeps its artifact cache
};

namespace {

const QString sound = u"float sdf_ball(vec3 p, float r) { return length(p) - r; }"_s;

QStringList textsOf(const QList<corvane::shader::DefinitionFault> &faults)
{
    QStringList texts;
    for (const auto &fault : faults)
        texts.append(fault.toString());
    return texts;
}

QStringList faultsOfCode(const QString &code, const QList<ParameterDef> &parameters,
                         const QString &blend)
{
    corvane::registry::Registry registry;
    const auto mine = definition(u"mine"_s, NodeType::Unknown, code, parameters);
    mine->blend = blend;
    registry.registerFileScopedPrimitive(mine);
    return textsOf(definitionFaults(registry, {u"mine"_s}));
}

} // namespace

void TstDefinitionWarnings::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path())));
}

void TstDefinitionWarnings::faultsAreToldInTheUsersWords_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QList<ParameterDef>>("parameters");
    QTest::addColumn<QString>("blend");
    QTest::addColumn<QString>("fault");
    const QList<ParameterDef> none;
    const QList<ParameterDef> radius{parameter(u"r"_s)};
    const QList<ParameterDef> color{parameter(u"color"_s, SDFParameterType::Color), radius[0]};
    const auto row = [](const char *name, const QString &code, const QList<ParameterDef> &list,
                        const QString &fault, const QString &blend = {}) {
        QTest::newRow(name) << code << list << blend << fault;
    };

    row("sound", sound, radius, {});
    row("colour as a vec3",
        u"float sdf_tinted(vec3 p, vec3 color, float r) { return length(p * color) - r; }"_s, color,
        {});
    row("name that is not declared",
        u"\n\n// two blank lines are cut off\nfloat sdf_ball(vec3 p, float r) {\n    /* a\n */ "
        "return length(p) - radius;\n}"_s,
        radius,
        u"definitions.mine.shaderCode, line 6: 'radius': undeclared identifier. Declare the name "
        "before its first use, or correct its spelling."_s);
    row("name of the user's function",
        u"float half_of(float x) { return x / 2.0; }\nfloat sdf_ball(vec3 p, float r) {\n    "
        u"return "
        "half_of(p, r);\n}"_s,
        radius,
        u"definitions.mine.shaderCode, line 3: 'half_of': no matching overloaded function found. "
        "Check the function's name, and the number and types of its arguments."_s);
    row("missing semicolon",
        u"float sdf_ball(vec3 p, float r) {\n    float d = length(p)\n    return d - r;\n}"_s,
        radius,
        u"definitions.mine.shaderCode, line 3: syntax error, unexpected RETURN, expecting COMMA or "
        "SEMICOLON. Look for a missing \";\", bracket or operand here and on the line before."_s);
    row("parameter that is not listed", sound, none,
        u"definitions.mine.parameters: 'sdf_ball': no matching overloaded function found. List "
        "under \"parameters\" one entry for each further argument of the function, in its order "
        "and of its type."_s);
    row("no known function", u"float ball(vec3 p) { return length(p); }"_s, none,
        u"definitions.mine.shaderCode: No primary function found (expected sdf_*, op_*, mod_*, "
        "pam_*, or field_* prefix). Give it a function such as"_s);
    row("another function first",
        u"float op_both(float a, float b) { return a + b; }\nfloat sdf_ball(vec3 p) { return "
        "op_both(p.x, p.y); }"_s,
        none,
        u"definitions.mine.shaderCode: 'op_both' is taken for its main function where it is drawn, "
        "and 'sdf_ball' where it is meshed. Put the main function first"_s);
    row("operator", u"float op_both(float d1, float d2) {\n    return min(d1, d3);\n}"_s,
        QList<ParameterDef>{testing::children()},
        u"definitions.mine.shaderCode, line 2: 'd3': undeclared identifier. Declare the name "
        "before its first use, or correct its spelling."_s);
    row("declaration without a body",
        u"float half_of(float x);\nfloat sdf_ball(vec3 p) { return half_of(p.x); }\n"
        "float half_of(float x) { return x / 2.0; }"_s,
        none,
        u"definitions.mine.shaderCode, line 1: expected '{' to open function body. Define the "
        "function here: declarations without a body are not read where it is meshed."_s);
    row("discard",
        u"float sdf_ball(vec3 p) {\n    /* discard\n */ if (p.x > 1.0) discard;\n    return p.y;\n}"_s,
        none,
        u"definitions.mine.shaderCode, line 3: a point that reaches 'discard' has no distance and "
        "counts as outside. Return a large distance, such as 1e10, where nothing shall be."_s);
    row("blend", u"float op_both(float d1, float d2) { return min(d1, d2); }"_s,
        QList<ParameterDef>{testing::children()},
        u"definitions.mine.blend, line 2: 'much': undeclared identifier."_s,
        u"float a = d1;\nfloat blend = a * much;"_s);
}

void TstDefinitionWarnings::faultsAreToldInTheUsersWords()
{
    QFETCH(const QString, code);
    QFETCH(const QList<ParameterDef>, parameters);
    QFETCH(const QString, blend);
    QFETCH(const QString, fault);
    const QStringList faults = faultsOfCode(code, parameters, blend);
    const QByteArray said = faults.join(u'\n').toUtf8();
    QVERIFY2(faults.size() == (fault.isEmpty() ? 0 : 1), said.constData());
    QVERIFY2(said.startsWith(fault.toUtf8()), said.constData());
}

// An open bracket is found only in what follows it.
void TstDefinitionWarnings::eachDefinitionIsBlamedForItsOwn()
{
    corvane::registry::Registry registry;
    QStringList ids;
    const QString open = u"float sdf_open(vec3 p) {\n    return p.x;\n"_s;
    for (int i = 0; i < 9; ++i) {
        ids.append(u"d%1"_s.arg(i));
        const bool isSound = i % 4 != 1;
        registry.registerFileScopedPrimitive(
            definition(ids.last(), NodeType::Unknown, isSound ? sound : open,
                       isSound ? QList<ParameterDef>{parameter(u"r"_s)} : QList<ParameterDef>()));
    }
    const auto faults = definitionFaults(registry, ids);
    QCOMPARE(faults.size(), 2);
    QCOMPARE(faults.at(0).definitionId, u"d1"_s);
    QCOMPARE(faults.at(1).definitionId, u"d5"_s);
}

QTEST_GUILESS_MAIN(TstDefinitionWarnings)
#include "tst_DefinitionWarnings.moc"
