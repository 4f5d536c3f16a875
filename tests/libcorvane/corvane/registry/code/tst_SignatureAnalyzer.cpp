#include <corvane/registry/code/SignatureAnalyzer.h>

using namespace Qt::StringLiterals;
using corvane::registry::NodeType;
using corvane::shader::SignatureAnalyzer;

class TstSignatureAnalyzer : public QObject
{
    Q_OBJECT

private slots:
    void listsFunctionNames_data();
    void listsFunctionNames();
    void classifies_data();
    void classifies();
    void tellsOperations_data();
    void tellsOperations();
    void picksThePrimaryFunction_data();
    void picksThePrimaryFunction();
    void readsArguments_data();
    void readsArguments();
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
    void survivesLongText();
};

void TstSignatureAnalyzer::listsFunctionNames_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("in order") << u"vec2 b(float x) {}\nfloat a (int i) {}"_s
                              << QStringList{u"b"_s, u"a"_s};
    QTest::newRow("main is none") << u"void main() {} mat3 m\n(){}"_s << QStringList{u"m"_s};
    QTest::newRow("calls are none")
        << u"float f() { return g(1.0) + max(h(2.0)); }"_s << QStringList{u"f"_s};
    QTest::newRow("other types are none")
        << u"S f() {} xfloat g() {} mat2x3 h() {}"_s << QStringList{};
    QTest::newRow("variables are none") << u"float x = 1.0; bool b;"_s << QStringList{};
    QTest::newRow("comment between is none") << u"float /* a */ f()"_s << QStringList{};
    QTest::newRow("digit in front is none") << u"float 1f()"_s << QStringList{};
}

void TstSignatureAnalyzer::listsFunctionNames()
{
    QFETCH(const QString, code);
    QTEST(SignatureAnalyzer::extractFunctionNames(code), "names");
}

void TstSignatureAnalyzer::classifies_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<NodeType>("type");
    QTest::newRow("primitive") << u"float sdf_x(vec3 p, float r)"_s << NodeType::Primitive;
    QTest::newRow("old style") << u"float sdSphere(vec3 p, float r)"_s << NodeType::Primitive;
    QTest::newRow("csg") << u"float op_x(float d1, float d2, float k)"_s << NodeType::CSGOperator;
    QTest::newRow("transform") << u"vec3 op_rotate(vec3 p, vec3 angles)"_s
                               << NodeType::PositionTransform;
    QTest::newRow("modifier") << u"float mod_x(float d, float r)"_s << NodeType::DistanceModifier;
    QTest::newRow("modifier of one") << u"float mod_x(float d)"_s << NodeType::DistanceModifier;
    QTest::newRow("pam") << u"float pam_sweep(vec3 p, float d, float radius, float angle)"_s
                         << NodeType::PositionAwareModifier;
    QTest::newRow("field") << u"float field_x(vec3 p)"_s << NodeType::ScalarField;
    QTest::newRow("mod of a point") << u"float mod_x(vec3 p)"_s << NodeType::Primitive;
    QTest::newRow("op of a point") << u"float op_x(vec3 p, float a)"_s << NodeType::Primitive;
    QTest::newRow("sdf of distances")
        << u"float sdf_x(float a, float b)"_s << NodeType::CSGOperator;
    QTest::newRow("op of a distance") << u"float op_x(float a)"_s << NodeType::DistanceModifier;
    QTest::newRow("mod of points") << u"vec3 mod_x(vec3 p)"_s << NodeType::PositionTransform;
    QTest::newRow("pam without distance")
        << u"float pam_x(vec3 p, vec3 q)"_s << NodeType::Primitive;
}

void TstSignatureAnalyzer::classifies()
{
    QFETCH(const QString, signature);
    QFETCH(const NodeType, type);
    const auto result = SignatureAnalyzer::analyze(signature + u" { return p; }"_s);
    QVERIFY2(result.valid, qPrintable(result.errorMessage));
    QCOMPARE(result.nodeType, type);
    QCOMPARE(result.isOperator, type != NodeType::Primitive && type != NodeType::ScalarField);
}

void TstSignatureAnalyzer::tellsOperations_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("operation");
    QTest::newRow("union") << u"op_union"_s << 0;
    QTest::newRow("subtraction") << u"op_subtraction"_s << 1;
    QTest::newRow("intersect") << u"op_intersect"_s << 2;
    QTest::newRow("smooth union") << u"op_smoothUnion"_s << 3;
    QTest::newRow("smooth subtraction") << u"op_smooth_subtraction"_s << 4;
    QTest::newRow("smooth intersection") << u"op_SMOOTH_INTERSECTION"_s << 5;
    QTest::newRow("additive blend") << u"op_additive_blend"_s << 6;
    QTest::newRow("chamfer union") << u"op_chamferUnion"_s << 7;
    QTest::newRow("chamfer intersection") << u"op_chamfer_intersection"_s << 8;
    QTest::newRow("xor") << u"op_xor"_s << 9;
    QTest::newRow("any other") << u"op_union_all"_s << -1;
}

void TstSignatureAnalyzer::tellsOperations()
{
    QFETCH(const QString, name);
    QFETCH(const int, operation);
    QCOMPARE(SignatureAnalyzer::analyze(u"float %1(float a, float b) {}"_s.arg(name)).operationType,
             operation);
}

void TstSignatureAnalyzer::picksThePrimaryFunction_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("primary");
    QTest::addColumn<QStringList>("helpers");
    QTest::newRow("helper first")
        << u"float noise(vec3 p) {} vec3 op_x(vec3 p) { return noise(p) * p; }"_s << u"op_x"_s
        << QStringList{u"noise"_s};
    QTest::newRow("sdf before op") << u"float op_a(float a, float b) {} float sdf_b(vec3 p) {}"_s
                                   << u"sdf_b"_s << QStringList{u"op_a"_s};
    QTest::newRow("field before old style") << u"float sdA(vec3 p) {} float field_b(vec3 p) {}"_s
                                            << u"field_b"_s << QStringList{u"sdA"_s};
}

void TstSignatureAnalyzer::picksThePrimaryFunction()
{
    QFETCH(const QString, code);
    const auto result = SignatureAnalyzer::analyze(code);
    QTEST(result.primaryFunctionName, "primary");
    QTEST(result.helperFunctions, "helpers");
}

void TstSignatureAnalyzer::readsArguments_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QStringList>("types");
    QTest::newRow("none but the point") << u" vec3 p "_s << QStringList{u"vec3"_s};
    QTest::newRow("lines with comments") << u"vec3 p, // where, of (course)\n  float r // size\n"_s
                                         << QStringList{u"vec3"_s, u"float"_s};
    QTest::newRow("qualifiers") << u"in vec3 p, const in float r, inout float s"_s
                                << QStringList{u"vec3"_s, u"float"_s, u"float"_s};
    QTest::newRow("without a name") << u"vec3, float"_s << QStringList{u"vec3"_s, u"float"_s};
    QTest::newRow("trailing comma") << u"vec3 p,"_s << QStringList{u"vec3"_s};
}

void TstSignatureAnalyzer::readsArguments()
{
    QFETCH(const QString, arguments);
    const auto result = SignatureAnalyzer::analyze(u"float sdf_x(%1) {}"_s.arg(arguments));
    QTEST(result.parameterTypes, "types");
}

void TstSignatureAnalyzer::saysWhatIsWrong_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << u" \n"_s << u"Empty shader code"_s;
    QTest::newRow("no function of a kind")
        << u"float helper(vec3 p) {}"_s
        << u"No primary function found (expected sdf_*, op_*, mod_*, pam_*, or field_* prefix)"_s;
    QTest::newRow("not finished") << u"float sdf_x(vec3 p"_s
                                  << u"Failed to parse signature for function 'sdf_x'"_s;
    QTest::newRow("no kind of node")
        << u"vec2 op_x(vec2 a, float b) {}"_s
        << u"Could not infer node type for function 'op_x' with signature: vec2 op_x(vec2, float)"_s;
}

void TstSignatureAnalyzer::saysWhatIsWrong()
{
    QFETCH(const QString, code);
    const auto result = SignatureAnalyzer::analyze(code);
    QVERIFY(!result.valid);
    QTEST(result.errorMessage, "message");
}

void TstSignatureAnalyzer::survivesLongText()
{
    const QString calls = u"float sdf_x"_s.repeated(200000);
    QVERIFY(!SignatureAnalyzer::analyze(calls).valid);
    const auto result =
        SignatureAnalyzer::analyze(u"float sdf_x(vec3 p"_s + u", float a"_s.repeated(50000) + u')');
    QCOMPARE(result.parameterTypes.size(), 50001);
}

QTEST_APPLESS_MAIN(TstSignatureAnalyzer)
#include "tst_SignatureAnalyzer.moc"
