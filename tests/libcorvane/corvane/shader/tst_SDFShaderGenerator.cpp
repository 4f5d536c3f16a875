#include <corvane/shader/SDFShaderGenerator.h>

#include "TestDefinitions.h"

#include <corvane/shader/IEnvironment.h>
#include <corvane/shader/IShadingMode.h>
#include <corvane/shader/SDFNode.h>
#include <corvane/shader/ShaderCodeAnalyzer.h>
#include <corvane/shader/ShaderTemplates.h>
#include <corvane/shader/ShaderValidator.h>
#include <corvane/shader/ShadingModeRegistry.h>

#include <QRegularExpression>
#include <QTest>

using namespace corvane::shader;
using namespace testing;
using namespace Qt::StringLiterals;

namespace {

QString compileErrors(const QString &source)
{
    const auto result = ShaderValidator::validate(source, QShader::FragmentStage, u"test"_s, {});
    QStringList messages;
    for (const auto &diagnostic : result.diagnostics)
        messages.append(u"%1: %2"_s.arg(diagnostic.line).arg(diagnostic.message));
    return result.success ? QString() : messages.join(u'\n');
}

using Generate = QString (SDFShaderGenerator::*)() const;
constexpr struct
{
    const char *name;
    Generate generate;
    QLatin1String banner;
    bool samplesScene;
} shaders[] = {
    {"forward", &SDFShaderGenerator::generateFragmentShader,
     "// ============= SDF Fragment Shader - Tree-Based Architecture ============="_L1, true},
    {"geometry", &SDFShaderGenerator::generateGeometryShader,
     "// ============= SDF Geometry Pass - Deferred Rendering ============="_L1, true},
    {"shading", &SDFShaderGenerator::generateShadingShader,
     "// ============= SDF Shading Pass - Deferred Rendering ============="_L1, false},
    {"field sampling", &SDFShaderGenerator::generateFieldSamplingShader,
     "// ============= SDF Field Sampling Shader - CPU Mesh Export ============="_L1, true},
    {"cross-section", &SDFShaderGenerator::generateCrossSectionShader,
     "// ============= SDF Cross-Section Shader - 2D Distance Field Visualization ============="_L1,
     true},
};

class TestShading : public IShadingMode
{
public:
    QString source;
    bool environment = false;
    bool scene = false;

    QString id() const override { return u"test"_s; }
    QString displayName() const override { return id(); }
    QString description() const override { return id(); }
    QString shadingShaderSource() const override { return source; }
    bool needsEnvironmentSnippet() const override { return environment; }
    bool needsSceneEvaluation() const override { return scene; }
    bool needsAccumulation() const override { return false; }
};

class TestSky : public IEnvironment
{
public:
    QString id() const override { return u"test"_s; }
    QString displayName() const override { return id(); }
    QString description() const override { return id(); }
    // A text that looks like another hole must stay as it is.
    QString sampleSnippet() const override { return u"sky // {{SDF_FUNCTIONS}}"_s; }
    void fillUniforms(float *, int) const override {}
};

} // namespace

Q_DECLARE_METATYPE(void (*)(QList<SDFNode> &))

class TstSDFShaderGenerator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_builtins.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void everyTemplateCompilesWithAllDefinitions_data();
    void everyTemplateCompilesWithAllDefinitions();
    void functionsAreRenamedByIndex();
    void usersNamesHarmNothing_data();
    void usersNamesHarmNothing();
    void definitionsMayShareNames();
    void parametersComeFromConsecutiveSlots_data();
    void parametersComeFromConsecutiveSlots();
    void tooManyParametersWarnAndStop();
    void mainFunctionIsTheFirstOfItsPrefixes_data();
    void mainFunctionIsTheFirstOfItsPrefixes();
    void definitionWithoutMainFunctionDropsOut();
    void blendsFollowTheDefinition();
    void onlyActiveDefinitionsAreEmitted();
    void noRegistryLeavesTheFixedTexts();
    void shadingFillsWhatItsModeWants();
    void modesAreThereAndCompile_data();
    void modesAreThereAndCompile();
    void specialisedScenesCompile();
    void structureKeyFollowsTheStructureAlone_data();
    void structureKeyFollowsTheStructureAlone();
    void scenesTooLargeForATextAreRefused();
    void kindsOfDefinitionsAreAnswered();

private:
    corvane::registry::Registry m_builtins;
};

void TstSDFShaderGenerator::everyTemplateCompilesWithAllDefinitions_data()
{
    QTest::addColumn<int>("shader");
    for (int i = 0; i < int(std::size(shaders)); ++i)
        QTest::newRow(shaders[i].name) << i;
}

void TstSDFShaderGenerator::everyTemplateCompilesWithAllDefinitions()
{
    QFETCH(const int, shader);
    const SDFShaderGenerator generator(&m_builtins);
    const QString source = (generator.*shaders[shader].generate)();
    QVERIFY(source.startsWith(shaders[shader].banner + "\n#version 450\n"_L1));
    QVERIFY2(!source.contains("{{"_L1), "a hole was left open");
    QCOMPARE(source.contains("float sdf_sphere_"_L1), shaders[shader].samplesScene);
    QCOMPARE(compileErrors(source), QString());
}

void TstSDFShaderGenerator::functionsAreRenamedByIndex()
{
    corvane::registry::Registry registry;
    const auto twice = shipped(definition(
        u"b"_s, NodeType::Primitive, u"float sdf_y(vec3 p, float r) { return sdf_y2(p) - r; }"_s,
        {parameter(u"r"_s)}));
    twice->name = u"Two\nlines \\"_s;
    registry.registerPrimitive(shipped(
        definition(u"a"_s, NodeType::Primitive, u"  float sdf_x(vec3 p) { return 1.0; }\n"_s)));
    registry.registerPrimitive(twice);

    SDFShaderGenerator generator(&registry);
    generator.setActiveDefinitionIds({u"b"_s});
    QVERIFY(generator.generateSDFFunctions().startsWith(
        u"// ============= Primitive SDF Functions =============\n"
        "// Generated from 2 primitive definitions\n"
        "\n"
        "// === Two lines \\. (primitive index 1) ===\n"
        "float sdf_y_1(vec3 p, float r) { return sdf_y2(p) - r; }\n"
        "\n"
        "// ============= Position Transform Functions =============\n"
        "// Generated from 0 transform definitions\n"_s));
    const QString dispatch = generator.generateAllDispatchFunctions();
    QVERIFY(dispatch.contains(u"// b\n"
                              "float sdf_wrapper_1(vec3 p, vec4 params, vec4 params2) {\n"
                              "    return sdf_y_1(p, params.x);\n"
                              "}\n"_s));
    QVERIFY(dispatch.contains(u"        case 1u: return sdf_wrapper_1(p, params, params2);\n"
                              "        default: return 1000.0; // Unknown primitive\n"_s));
}

void TstSDFShaderGenerator::usersNamesHarmNothing_data()
{
    QTest::addColumn<QString>("code");

    QTest::newRow("function called main")
        << u"float main(vec3 p) { return p.x; } "
           "float sdf_main(vec3 p, float r) { return main(p) - r; }"_s;
    QTest::newRow("parameter called asm")
        << u"float sdf_u(vec3 asm, float goto) { return asm.x - goto; }"_s;
    QTest::newRow("parameter called int64_t")
        << u"float sdf_u(vec3 p, float int64_t) { return int64_t; }"_s;
    QTest::newRow("names of the evaluator")
        << u"float sceneSDF(vec3 epsilon) { return epsilon.x; } "
           "float opUnion(float a, float b) { return a + b; } "
           "float sdf_u(vec3 nodes, float r) { return sceneSDF(nodes) - opUnion(r, r); }"_s;
    QTest::newRow("name of a shipped function")
        << u"float sdf_u(vec3 p, float r); "
           "float sdf_box_0(vec3 p) { return p.x; } "
           "float sdf_u(vec3 p, float r) { return sdf_box_0(p) - r; }"_s;
    QTest::newRow("reserved names")
        << u"float sdf_u(vec3 p, float gl_x) { float a__b = gl_x; return a__b + p.y; }"_s;
    QTest::newRow("line of a template")
        << u"// {{DISPATCH_FUNCTION}}\nfloat sdf_u(vec3 p, float r) { return r; }"_s;
    QTest::newRow("place marker in the code")
        << u"float sdf_u(vec3 p, float r) { /* %1 %2 %3 */ return r; }"_s;
}

void TstSDFShaderGenerator::usersNamesHarmNothing()
{
    QFETCH(const QString, code);
    corvane::registry::Registry registry;
    registry.registerPrimitive(
        definition(u"mine"_s, NodeType::Primitive, code, {parameter(u"r"_s)}));
    const SDFShaderGenerator generator(&registry);
    for (const auto &shader : shaders)
        QCOMPARE(compileErrors((generator.*shader.generate)()), QString());
}

void TstSDFShaderGenerator::definitionsMayShareNames()
{
    const QString code = u"float helper(vec3 p) { return p.%1; } "
                         "float sdf_u(vec3 p) { return helper(p); }"_s;
    const QString transform = u"vec3 helper(vec3 p) { return p; } "
                              "vec3 op_u(vec3 p) { return helper(p); }"_s;
    // The registry says so, but the shader has them apart.
    for (const auto &said : {u"'helper' is defined in multiple primitives: a, b, c"_s,
                             u"'sdf_u' is defined in multiple primitives: a, b"_s,
                             u"Detected 2 function name conflict"_s})
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(said));
    corvane::registry::Registry registry;
    registry.registerFileScopedPrimitives({definition(u"a"_s, NodeType::Unknown, code.arg("x"_L1)),
                                           definition(u"b"_s, NodeType::Unknown, code.arg("y"_L1)),
                                           definition(u"c"_s, NodeType::Unknown, transform)});
    QCOMPARE(compileErrors(SDFShaderGenerator(&registry).generateFieldSamplingShader()), QString());
}

void TstSDFShaderGenerator::parametersComeFromConsecutiveSlots_data()
{
    using Types = QList<SDFParameterType>;
    QTest::addColumn<Types>("types");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("slotCount");

    using enum SDFParameterType;
    QTest::newRow("none") << Types{} << QString() << 0;
    QTest::newRow("scalars") << Types{Float, Int, Bool, String}
                             << u"params.x, params.y, params.z, params.w"_s << 4;
    QTest::newRow("vectors") << Types{Vec2, Vec3}
                             << u"vec2(params.x, params.y), vec3(params.z, params.w, params2.x)"_s
                             << 5;
    QTest::newRow("colour and four") << Types{Color, Vec4}
                                     << u"vec4(params.x, params.y, params.z, params.w), "
                                        "vec4(params2.x, params2.y, params2.z, params2.w)"_s
                                     << 8;
    QTest::newRow("children take none")
        << Types{SDFChildren, Float, SDFChild} << u"params.x"_s << 1;
    QTest::newRow("vector over the end")
        << Types{Vec3, Vec3, Vec3}
        << u"vec3(params.x, params.y, params.z), vec3(params.w, params2.x, params2.y), "
           "vec3(params2.z, params2.w, 0.0)"_s
        << 9;
}

void TstSDFShaderGenerator::parametersComeFromConsecutiveSlots()
{
    QFETCH(const QList<SDFParameterType>, types);
    QFETCH(const QString, arguments);
    QList<ParameterDef> parameters;
    for (const SDFParameterType type : types)
        parameters.append(parameter(u"p"_s, type));
    int used = -1;
    QCOMPARE(ShaderCodeAnalyzer::buildParamList(
                 *definition(u"a"_s, NodeType::Primitive, {}, parameters), used),
             arguments);
    QTEST(used, "slotCount");
}

void TstSDFShaderGenerator::tooManyParametersWarnAndStop()
{
    const QList<ParameterDef> nine(9, parameter(u"p"_s));
    int used = 0;
    QTest::ignoreMessage(QtWarningMsg, "ShaderCodeAnalyzer: too many parameters for a");
    const QString list = ShaderCodeAnalyzer::buildParamList(
        *definition(u"a"_s, NodeType::Primitive, {}, nine), used);
    QCOMPARE(list.count(u','), 7);
    QCOMPARE(used, 8);
}

void TstSDFShaderGenerator::mainFunctionIsTheFirstOfItsPrefixes_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("name");

    QTest::newRow("after a helper")
        << u"float hash(float n) { return n; }\nfloat sdf_a(vec3 p) {"_s << u"sdf_a"_s;
    QTest::newRow("helper with a prefix comes first")
        << u"float sdf_h(float n); float sdf_a(vec3 p)"_s << u"sdf_h"_s;
    QTest::newRow("transform") << u"vec3 op_twist (vec3 p)"_s << u"op_twist"_s;
    QTest::newRow("any case") << u"Float SDF_a(vec3 p)"_s << u"SDF_a"_s;
    QTest::newRow("other return type") << u"vec4 sdf_a(vec3 p)"_s << QString();
    QTest::newRow("a call") << u"return sdf_a(p);"_s << QString();
    QTest::newRow("older style") << u"float sdSphere(vec3 p)"_s << QString();
}

void TstSDFShaderGenerator::mainFunctionIsTheFirstOfItsPrefixes()
{
    QFETCH(const QString, code);
    QTEST(ShaderCodeAnalyzer::extractFunctionName(code), "name");
}

void TstSDFShaderGenerator::definitionWithoutMainFunctionDropsOut()
{
    corvane::registry::Registry registry;
    registry.registerPrimitive(
        definition(u"a"_s, NodeType::DistanceModifier, u"float twice(float d) { return d; }"_s));
    const SDFShaderGenerator generator(&registry);
    QTest::ignoreMessage(
        QtWarningMsg, "ShaderFunctionGenerator: could not extract modifier function name from a");
    QVERIFY(!generator.generateSDFFunctions().contains("twice"_L1));
    QTest::ignoreMessage(QtWarningMsg,
                         "ShaderWrapperGenerator: could not extract modifier function name from a");
    // Nor is it called, so that what others draw compiles.
    QVERIFY(!generator.generateAllDispatchFunctions().contains("modifier_wrapper_0("_L1));
}

void TstSDFShaderGenerator::blendsFollowTheDefinition()
{
    corvane::registry::Registry registry;
    const auto smooth = definition(u"a"_s, NodeType::CSGOperator,
                                   u"float op_a(float d1, float d2) { return d1; }"_s);
    smooth->blend = u"float main = d1 / k;\nfloat blend = main;\n"_s;
    registry.registerPrimitive(smooth);
    registry.registerPrimitive(definition(u"b"_s, NodeType::CSGOperator,
                                          u"float op_b(float d1, float d2) { return d1; }"_s));
    const SDFShaderGenerator generator(&registry);
    const QString dispatch = generator.generateAllDispatchFunctions();
    QVERIFY(dispatch.contains(u"float csgBlend_0(float d1, float d2, float k) {\n"
                              "    float b_main = d1 / k;\n"
                              "    float blend = b_main;\n"
                              "    return blend;\n"
                              "}\n"_s));
    QVERIFY(dispatch.contains(u"float csgBlend_1(float d1, float d2, float k) {\n"
                              "    float blend = d1 < d2 ? 0.0 : 1.0;\n"
                              "    return blend;\n"
                              "}\n"_s));
    QVERIFY(dispatch.contains(u"        case 1u: return csgBlend_1(d1, d2, k);\n"
                              "        default: return d1 < d2 ? 0.0 : 1.0;\n"_s));
    QVERIFY2(generator.generateSDFFunctions().contains("op_a_c0("_L1), "a user's is called");
    QVERIFY(
        dispatch.contains(u"        case 1u: return operator_wrapper_1(d1, d2, params, params2);\n"
                          "        default: return applyCsgOp(opType, d1, d2, smoothness);\n"_s));
    QCOMPARE(compileErrors(generator.generateFieldSamplingShader()), QString());
    QVERIFY2(!SDFShaderGenerator(&m_builtins).generateSDFFunctions().contains("op_union"_L1),
             "the program's are a fixed table");
}

void TstSDFShaderGenerator::onlyActiveDefinitionsAreEmitted()
{
    SDFShaderGenerator generator(&m_builtins);
    generator.setActiveDefinitionIds({u"sphere"_s, u"union"_s});
    const QString source = generator.generateFieldSamplingShader();
    QCOMPARE(source.count("float sdf_wrapper_"_L1), 1);
    QCOMPARE(source.count("float csgBlend_"_L1), 1);
    QCOMPARE(source.count("vec3 transform_wrapper_"_L1), 0);
    QCOMPARE(compileErrors(source), QString());
    generator.setActiveDefinitionIds({});
    QCOMPARE(compileErrors(generator.generateFieldSamplingShader()), QString());
}

void TstSDFShaderGenerator::noRegistryLeavesTheFixedTexts()
{
    SDFShaderGenerator generator;
    QCOMPARE(generator.generateSDFFunctions(), QString());
    const QString dispatch = generator.generateAllDispatchFunctions();
    QVERIFY(!dispatch.contains("evaluatePrimitiveByDefinition(uint"_L1));
    QVERIFY(dispatch.contains(
        "float applyCsgOp(uint opType, float d1, float d2, float smoothness) {"_L1));
    QVERIFY(dispatch.contains("float evaluateSceneTree("_L1));
    generator.setTreeEvaluatorIncluded(false);
    QVERIFY(!generator.generateAllDispatchFunctions().contains("float evaluateSceneTree("_L1));
}

void TstSDFShaderGenerator::shadingFillsWhatItsModeWants()
{
    TestShading mode;
    const TestSky sky;
    mode.source = u"[// {{ENVIRONMENT_SAMPLE}}][// {{SDF_FUNCTIONS}}][// {{DISPATCH_FUNCTION}}]"_s;
    SDFShaderGenerator generator;
    generator.setShadingMode(&mode);
    QCOMPARE(generator.generateShadingShader(), mode.source);

    mode.environment = true;
    QCOMPARE(generator.generateShadingShader(), mode.source); // no background yet
    generator.setBackgroundEnvironment(&sky);
    QCOMPARE(generator.generateShadingShader(),
             u"[sky // {{SDF_FUNCTIONS}}][// {{SDF_FUNCTIONS}}][// {{DISPATCH_FUNCTION}}]"_s);

    mode.scene = true;
    QVERIFY(generator.generateShadingShader().startsWith(u"[sky // {{SDF_FUNCTIONS}}][]["_s));
    QVERIFY(generator.generateShadingShader().contains("float applyCsgOp("_L1));

    mode.source.clear();
    QCOMPARE(generator.generateShadingShader(), ShaderTemplates::load(u"sdf_shading.frag.in"_s));
}

void TstSDFShaderGenerator::modesAreThereAndCompile_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("displayName");
    QTest::addColumn<bool>("environment");
    QTest::addColumn<bool>("accumulates");

    QTest::newRow("pbr") << u"pbr"_s << u"PBR (Cook-Torrance)"_s << false << false;
    QTest::newRow("env-lit") << u"env-lit-pbr"_s << u"Environment-lit PBR"_s << true << false;
    QTest::newRow("path-traced") << u"path-traced"_s << u"Path traced"_s << true << true;
}

void TstSDFShaderGenerator::modesAreThereAndCompile()
{
    QFETCH(const QString, id);
    QFETCH(const bool, accumulates);
    class Grey : public TestSky
    {
        QString sampleSnippet() const override
        {
            return u"vec3 sampleEnvironment(vec3 dir) { return envParam0.rgb + 0.0 * dir; }"_s;
        }
    };
    ShadingModeRegistry &registry = ShadingModeRegistry::instance();
    QCOMPARE(registry.ids(), (QList<QString>{u"pbr"_s, u"env-lit-pbr"_s, u"path-traced"_s}));
    const auto mode = registry.mode(id);
    QVERIFY(mode);
    QCOMPARE(mode->id(), id);
    QTEST(mode->displayName(), "displayName");
    QTEST(mode->needsEnvironmentSnippet(), "environment");
    QCOMPARE(mode->needsAccumulation(), accumulates);
    QCOMPARE(mode->isInteractive(), !accumulates);
    QVERIFY2(!registry.registerMode(mode), "the id is taken");

    const Grey grey;
    SDFShaderGenerator generator(&m_builtins);
    generator.setShadingMode(mode.data());
    generator.setBackgroundEnvironment(&grey);
    const QString source = generator.generateShadingShader();
    QVERIFY2(!source.contains("{{"_L1), "a hole was left open");
    QCOMPARE(source.contains("analyticEdgeAA;"_L1), id == u"env-lit-pbr"_s);
    QCOMPARE(compileErrors(source), QString());
}

namespace {

/// A shell of a ball in a place of its own, less a box, twisted.
QList<SDFNode> plainScene(const SDFShaderGenerator &generator)
{
    const auto node = [&generator](const QString &id, int parent) {
        const auto entry = generator.indices().find(id);
        SDFNode made;
        made.nodeType = quint32(entry->type);
        made.definitionIndex = quint32(entry->index);
        made.parentIndex = parent;
        return made;
    };
    QList<SDFNode> nodes{node(u"twist"_s, -1), node(u"subtract"_s, 0), node(u"sphere"_s, 1),
                         node(u"box"_s, 1)};
    nodes[0].firstChild = 1;
    nodes[1].firstChild = 2;
    nodes[1].operationType = 1;
    nodes[2].nextSibling = 3;
    nodes[2].shellThickness = 0.1f;
    nodes[2].densityScale = 1.5f;
    QMatrix4x4 place;
    place.translate(1, 2, 3);
    nodes[2].setTransform(place);
    return nodes;
}

} // namespace

void TstSDFShaderGenerator::specialisedScenesCompile()
{
    SDFShaderGenerator generator(&m_builtins);
    QList<SDFNode> nodes = plainScene(generator);
    nodes.append(nodes.at(3)); // another domain
    nodes.last().parentIndex = -1;
    generator.setActiveDefinitionIds({u"twist"_s, u"subtract"_s, u"sphere"_s, u"box"_s});
    generator.setSpecialisedScene(generator.specialisedScene(nodes, {0, 4}));
    for (const auto &shader : shaders) {
        const QString source = (generator.*shader.generate)();
        QVERIFY(!source.contains("walkTree(vec3"_L1));
        QCOMPARE(compileErrors(source), QString());
    }
    generator.setSpecialisedScene({});
    QVERIFY(generator.generateGeometryShader().contains("walkTree(vec3"_L1));
}

void TstSDFShaderGenerator::structureKeyFollowsTheStructureAlone_data()
{
    using Change = void (*)(QList<SDFNode> &);
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("isSame");

    const auto row = [](const char *name, Change change, bool isSame) {
        QTest::newRow(name) << change << isSame;
    };
    row(
        "nothing", [](QList<SDFNode> &) {}, true);
    row(
        "parameter", [](QList<SDFNode> &nodes) { nodes[3].params[0] += 1.0f; }, true);
    row(
        "material", [](QList<SDFNode> &nodes) { nodes[3].material.metallic = 1.0f; }, true);
    row(
        "place", [](QList<SDFNode> &nodes) { nodes[2].invTransform[12] = 7.0f; }, true);
    row(
        "thickness", [](QList<SDFNode> &nodes) { nodes[2].shellThickness = 0.2f; }, true);
    row(
        "no shell", [](QList<SDFNode> &nodes) { nodes[2].shellThickness = 0.0f; }, false);
    row(
        "a shell", [](QList<SDFNode> &nodes) { nodes[3].shellThickness = 0.2f; }, false);
    row(
        "no inflation", [](QList<SDFNode> &nodes) { nodes[2].densityScale = 1.0f; }, false);
    row(
        "a place", [](QList<SDFNode> &nodes) { nodes[3].invTransform[12] = 7.0f; }, false);
    row(
        "definition", [](QList<SDFNode> &nodes) { ++nodes[2].definitionIndex; }, false);
    row(
        "operation", [](QList<SDFNode> &nodes) { nodes[1].operationType = 0; }, false);
    row(
        "mix of materials", [](QList<SDFNode> &nodes) { nodes[1].materialMode = 0; }, false);
    row(
        "fewer children", [](QList<SDFNode> &nodes) { nodes[2].nextSibling = -1; }, false);
    row(
        "one more node", [](QList<SDFNode> &nodes) { nodes.append(SDFNode()); }, false);
}

void TstSDFShaderGenerator::structureKeyFollowsTheStructureAlone()
{
    using Change = void (*)(QList<SDFNode> &);
    QFETCH(const Change, change);
    const SDFShaderGenerator generator(&m_builtins);
    QList<SDFNode> nodes = plainScene(generator);
    const SpecialisedScene scene = generator.specialisedScene(nodes, {0});
    QCOMPARE(SpecialisedScene::structureKey(nodes, {0}), scene.key());
    change(nodes);
    QTEST(SpecialisedScene::structureKey(nodes, {0}) == scene.key(), "isSame");
    QVERIFY(SpecialisedScene::structureKey(nodes, {1}) != scene.key());
}

void TstSDFShaderGenerator::scenesTooLargeForATextAreRefused()
{
    const SDFShaderGenerator generator(&m_builtins);
    QList<SDFNode> nodes(1025);
    QCOMPARE(SpecialisedScene::refusal(nodes, {0}),
             u"The scene has 1025 nodes; a shader of its own can be made for up to 1024."_s);
    QVERIFY(generator.specialisedScene(nodes, {0}).isNull());

    nodes.resize(300);
    for (int i = 0; i < 299; ++i) {
        nodes[i].nodeType = quint32(GpuNodeType::DistanceModifier);
        nodes[i].firstChild = i + 1;
    }
    QCOMPARE(
        SpecialisedScene::refusal(nodes, {0}),
        u"The scene is nested more than 256 levels deep; no shader of its own is made for it."_s);
    nodes[50].firstChild = -1;
    QCOMPARE(SpecialisedScene::refusal(nodes, {0}), QString());
    nodes[49].firstChild = 40;
    QVERIFY2(!SpecialisedScene::refusal(nodes, {0}).isEmpty(), "a ring is no tree");
}

void TstSDFShaderGenerator::kindsOfDefinitionsAreAnswered()
{
    const SDFShaderGenerator generator(&m_builtins);
    QCOMPARE(generator.operationType(u"smooth_subtract"_s), 4);
    QCOMPARE(generator.operationType(u"sphere"_s), -1);
    QCOMPARE(generator.nodeType(u"extrude"_s), 5);
    QCOMPARE(generator.nodeType(u"no_such"_s), 0);
}

QTEST_GUILESS_MAIN(TstSDFShaderGenerator)
#include "tst_SDFShaderGenerator.moc"
