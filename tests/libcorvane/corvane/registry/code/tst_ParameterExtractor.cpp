#include <corvane/registry/code/ParameterExtractor.h>
#include <shader/SpirvCompiler.h>

#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

using namespace Qt::StringLiterals;
using namespace corvane::shader;
using corvane::registry::ParameterDef;
using corvane::registry::SDFParameterType;
using corvane::registry::UIHint;

class TstParameterExtractor : public QObject
{
    Q_OBJECT

private slots:
    void readsLinesAbove();
    void readsAnnotations_data();
    void readsAnnotations();
    void readsAnnotationLines_data();
    void readsAnnotationLines();
    void readsValues_data();
    void readsValues();
    void extractsFromSignatures_data();
    void extractsFromSignatures();
    void givesDefaultsByType();
    void appliesAnnotations();
    void extractsFromReflection();
};

namespace {

QStringList names(const QList<ParameterDef> &parameters)
{
    QStringList all;
    for (const ParameterDef &parameter : parameters)
        all.append(parameter.name);
    return all;
}

QVariantList valuesOf(const ParameterAnnotation &a)
{
    return {a.minValue, a.maxValue, a.defaultValue, a.unit, a.description};
}

} // namespace

void TstParameterExtractor::readsLinesAbove()
{
    const auto annotations = ParameterExtractor::parseAnnotations(
        u"  // @Min 0.5\n// @max 2\n//@hint Slider\n// @unit mm\n// @unit cm\n// @default 1\n"
        "// @step 0.1\n// @section Size\n// @description How wide\n  float width;\n"
        "// @min 3\nno member at all\nfloat height;"_s);
    QCOMPARE(annotations.size(), 1);
    const ParameterAnnotation width = annotations.value(u"width"_s);
    QCOMPARE(width.minValue, QVariant(u"0.5"_s));
    QCOMPARE(width.maxValue, QVariant(u"2"_s));
    QCOMPARE(width.hint, UIHint::Slider);
    QCOMPARE(width.unit, u"cm"_s);
    QCOMPARE(width.defaultValue, QVariant(u"1"_s));
    QCOMPARE(width.stepValue, QVariant(u"0.1"_s));
    QCOMPARE(width.section, u"Size"_s);
    QCOMPARE(width.description, u"How wide"_s);
    QVERIFY(width.hasDefault && width.hasRange && width.hasHint && width.hasStep);
    const auto odd = ParameterExtractor::parseAnnotations(u"// @hint wheel\nfloat a;"_s);
    QVERIFY(odd.value(u"a"_s).hasHint);
    QCOMPARE(odd.value(u"a"_s).hint, UIHint::Default);
}

void TstParameterExtractor::readsAnnotations_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::addColumn<QVariantList>("expected"); // of "a": as in readsAnnotationLines
    const QVariant none;
    QTest::newRow("lines above add up")
        << u"// @min 0\n// @default 1\nfloat a;\n// @max 9\n// @default 5\n// @unit mm\nfloat a;"_s
        << 1 << QVariantList{none, u"9"_s, u"1"_s, u"mm"_s, u""_s};
    QTest::newRow("comment behind")
        << u"float a, // Range: 0 to 1, Unit: mm\nfloat b; // the second one\nfloat c) //\n"
           "float d = 1.0; // Range: 0 to 1"_s
        << 2 << QVariantList{u"0"_s, u"1"_s, none, u"mm"_s, u""_s};
    QTest::newRow("comment behind is the description")
        << u"float a; // the second one"_s << 1
        << QVariantList{none, none, none, u""_s, u"the second one"_s};
    QTest::newRow("comment behind beats lines above")
        << u"// @min 5\n// @max 6\n// @unit mm\nfloat a; // Range: 0 - 1"_s << 1
        << QVariantList{u"0"_s, u"1"_s, none, u""_s, u""_s};
    QTest::newRow("lines of their own")
        << u"// a: Range: 0.001 to 100000.0, Default: 2.5, Unit: mm\n// note: nothing of use\n"
           "// @default 1\nfloat a;"_s
        << 1 << QVariantList{u"0.001"_s, u"100000.0"_s, u"1"_s, u"mm"_s, u""_s};
}

void TstParameterExtractor::readsAnnotations()
{
    QFETCH(const QString, text);
    const auto annotations = ParameterExtractor::parseAnnotations(text);
    QTEST(int(annotations.size()), "count");
    QTEST(valuesOf(annotations.value(u"a"_s)), "expected");
}

void TstParameterExtractor::readsAnnotationLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariantList>("expected"); // minimum, maximum, default, unit, description
    const QVariant none;
    QTest::newRow("range") << u"range: 0.5 - 2"_s
                           << QVariantList{u"0.5"_s, u"2"_s, none, u""_s, u""_s};
    QTest::newRow("vector default") << u"Default: (1, 2, 3), Unit: mm"_s
                                    << QVariantList{none, none, u"(1, 2, 3)"_s, u"mm"_s, u""_s};
    QTest::newRow("first plain part is the description")
        << u"how far, really, Description: better"_s
        << QVariantList{none, none, none, u""_s, u"better"_s};
    QTest::newRow("unknown key") << u"Colour: red"_s
                                 << QVariantList{none, none, none, u""_s, u""_s};
    QTest::newRow("empty") << u" , "_s << QVariantList{none, none, none, u""_s, u""_s};
}

void TstParameterExtractor::readsAnnotationLines()
{
    QFETCH(const QString, text);
    ParameterAnnotation a;
    ParameterExtractor::parseAnnotationLine(text, a);
    QTEST(valuesOf(a), "expected");
}

void TstParameterExtractor::readsValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<SDFParameterType>("type");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("float") << u"1.5"_s << SDFParameterType::Float << QVariant(1.5);
    QTest::newRow("no float") << u"x"_s << SDFParameterType::Float << QVariant(0.0);
    QTest::newRow("no int") << u"1.5"_s << SDFParameterType::Int << QVariant(0);
    QTest::newRow("Yes") << u"Yes"_s << SDFParameterType::Bool << QVariant(true);
    QTest::newRow("2") << u"2"_s << SDFParameterType::Bool << QVariant(false);
    QTest::newRow("vec2") << u"[1 2]"_s << SDFParameterType::Vec2 << QVariant(QVector2D(1, 2));
    QTest::newRow("vec3") << u"(1, x, 3)"_s << SDFParameterType::Vec3
                          << QVariant(QVector3D(1, 0, 3));
    QTest::newRow("vec4") << u"1,2"_s << SDFParameterType::Vec4 << QVariant(QVector4D(1, 2, 0, 0));
    QTest::newRow("color") << u"1, 0.5, 0"_s << SDFParameterType::Color
                           << QVariant(QVector4D(1, 0.5f, 0, 1));
    QTest::newRow("string") << u" a b "_s << SDFParameterType::String << QVariant(u"a b"_s);
    QTest::newRow("children") << u"1"_s << SDFParameterType::SDFChildren << QVariant();
}

void TstParameterExtractor::readsValues()
{
    QFETCH(const QString, text);
    QFETCH(const SDFParameterType, type);
    QTEST(ParameterExtractor::parseValueString(text, type), "value");
}

void TstParameterExtractor::extractsFromSignatures_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("function");
    QTest::addColumn<QStringList>("parameters");
    const QString two =
        u"float sdBall(vec3 q, float b) {}\nfloat sdf_a(vec3 p, float r, int n) {}"_s;
    QTest::newRow("empty") << u""_s << u""_s << QStringList{};
    QTest::newRow("point alone") << u"float sdf_a(vec3 p) {}"_s << u""_s << QStringList{};
    QTest::newRow("first of its kind") << two << u""_s << QStringList{u"b"_s};
    QTest::newRow("named") << two << u"sdf_a"_s << QStringList{u"r"_s, u"n"_s};
    QTest::newRow("field") << u"float field_a(vec3 p, vec3 axis) {}"_s << u""_s
                           << QStringList{u"axis"_s};
    QTest::newRow("lines with comments")
        << u"float sdf_a(\n  vec3 p, // (here)\n  float a, // Range: 0 to 1\n  bool b\n) {}"_s
        << u"sdf_a"_s << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("no such function") << two << u"sdf_b"_s << QStringList{};
}

void TstParameterExtractor::extractsFromSignatures()
{
    QFETCH(const QString, code);
    QFETCH(const QString, function);
    QFETCH(const QStringList, parameters);
    QCOMPARE(names(ParameterExtractor::extractParametersFromFunctionSignature(code, function)),
             parameters);
}

void TstParameterExtractor::givesDefaultsByType()
{
    const auto parameters = ParameterExtractor::extractParametersFromFunctionSignature(
        u"float sdf_a(vec3 p, float majorRadius, int n, bool on, vec2 size, vec3 Tint, vec4 w)"_s);
    QCOMPARE(parameters.size(), 6);
    QCOMPARE(parameters[0].displayName, u"Major Radius"_s);
    QCOMPARE(parameters[0].uiHint, UIHint::Slider);
    QCOMPARE(parameters[0].maxValue, QVariant(10.0));
    QCOMPARE(parameters[1].defaultValue, QVariant(1));
    QCOMPARE(parameters[1].maxValue, QVariant(100));
    QCOMPARE(parameters[2].defaultValue, QVariant(false));
    QVERIFY(!parameters[2].minValue.isValid());
    QCOMPARE(parameters[3].type, SDFParameterType::Vec2);
    QCOMPARE(parameters[4].type, SDFParameterType::Color);
    QCOMPARE(parameters[5].defaultValue, QVariant(QVector4D(1, 1, 1, 1)));
}

void TstParameterExtractor::appliesAnnotations()
{
    const auto parameters = ParameterExtractor::extractParametersFromFunctionSignature(
        u"// r: Description: How thick, Default: 2.5, Range: 0.5 to 4, Unit: mm, Hint: Distance\n"
        "// axis: Default: (0, 1, 0), Range: 0 to 3\n"
        "float sdf_a(vec3 p, float r, vec3 axis) {}"_s);
    QCOMPARE(parameters[0].description, u"How thick"_s);
    QCOMPARE(parameters[0].defaultValue, QVariant(2.5));
    QCOMPARE(parameters[0].minValue, QVariant(0.5));
    QCOMPARE(parameters[0].maxValue, QVariant(4.0));
    QCOMPARE(parameters[0].unit, u"mm"_s);
    QCOMPARE(parameters[0].uiHint, UIHint::Distance);
    QCOMPARE(parameters[1].defaultValue, QVariant(QVector3D(0, 1, 0)));
    QCOMPARE(parameters[1].maxValue, QVariant(3.0));
}

void TstParameterExtractor::extractsFromReflection()
{
    const QString source =
        u"#version 450\nlayout(location = 0) out vec4 fragColor;\n"
        "layout(std140, binding = 0) uniform A {\n  float size;\n  ivec2 cells;\n"
        "  vec3 baseColour;\n  // @hint color\n  vec3 sky;\n  mat4 m;\n"
        "  float list[3];\n} a;\n"
        "layout(std140, binding = 1) uniform B {\n  vec2 other;\n} b;\n"
        "void main() { fragColor = vec4(a.size + b.other.x); }\n"_s;
    const auto compiled = ::shader::compileToSpirv(source, QShader::FragmentStage, u"block"_s);
    QVERIFY2(!compiled.spirv.isEmpty(), qPrintable(compiled.messages));
    const QShaderDescription description = ::shader::describeSpirv(compiled.spirv);
    const auto all = ParameterExtractor::extractParameters(description, {}, source);
    QCOMPARE(names(all).size(), 5);
    const auto named = ParameterExtractor::extractParameters(description, u"A"_s, source);
    QCOMPARE(names(named), (QStringList{u"size"_s, u"cells"_s, u"baseColour"_s, u"sky"_s}));
    QCOMPARE(named[0].defaultValue, QVariant(0.0));
    QCOMPARE(named[1].type, SDFParameterType::Int);
    QCOMPARE(named[1].maxValue, QVariant(100));
    QCOMPARE(named[2].type, SDFParameterType::Color);
    QCOMPARE(named[2].defaultValue, QVariant(QVector4D(1, 1, 1, 1)));
    QCOMPARE(named[3].type, SDFParameterType::Color);
}

QTEST_APPLESS_MAIN(TstParameterExtractor)
#include "tst_ParameterExtractor.moc"
