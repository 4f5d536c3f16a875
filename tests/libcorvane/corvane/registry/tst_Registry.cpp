#include "TestDefinitions.h"

#include <corvane/registry/Registry.h>

#include <toast/ErrorManager.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace corvane::registry;

class TstRegistry : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void loadsEveryBuiltin();
    void reloadsBuiltinsAndKeepsTheRest();
    void sortsByCategoryOrderAndId();
    void takesParametersFromTheSignature();
    void testCompilesButLoadsWhatFails();
    void reportsFilesItCannotRead_data();
    void reportsFilesItCannotRead();
    void refusesInvalidDefinitions();
    void analysesFileScopedDefinitions();
    void keepsOverridesThroughAReload();
    void reportsConflictsAsTheyStand();
    void reportsConflictsOfManyOnce();
    void savesAndLoadsTheUserLibrary();
    void skipsUserOverridesOfBuiltins();
    void reportsUnreadableUserLibraries_data();
    void reportsUnreadableUserLibraries();
    void resolvesSourcePaths();

private:
    QTemporaryDir m_dataHome; ///< where this run keeps its artifact cache
};

namespace {

constexpr auto ballCode = "float sdf_ball(vec3 p, float r) {\nreturn length(p) - r;\n}"_L1;

QString writeFile(const QTemporaryDir &dir, const QString &name, const QString &text)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
        return {};
    return path;
}

void expectWarning(const QString &pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

} // namespace

void TstRegistry::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path())));
}

void TstRegistry::loadsEveryBuiltin()
{
    Registry registry;
    registry.loadBuiltinPrimitives();
    QCOMPARE(registry.count(), 79);
    QVERIFY(registry.functionConflicts().isEmpty());
    const auto all = registry.getAllPrimitives();
    for (const DefinitionPtr &definition : all) {
        QVERIFY2(definition->isValid(), qPrintable(definition->id));
        QVERIFY2(definition->isFromResources(), qPrintable(definition->id));
        QVERIFY2(definition->spirvValid && !definition->spirv.isEmpty(),
                 qPrintable(definition->id));
        QCOMPARE(definition->isOperator, definition->childParameter() != nullptr);
        QCOMPARE(definition->operationType >= 0, definition->nodeType == NodeType::CSGOperator);
        QCOMPARE(definition->blend.isEmpty(), definition->nodeType != NodeType::CSGOperator);
    }
}

void TstRegistry::reloadsBuiltinsAndKeepsTheRest()
{
    Registry registry;
    registry.loadBuiltinPrimitives();
    registry.registerFileScopedPrimitive(makeDefinition(u"ball"_s, ballCode));
    registry.getDefinition(u"sphere"_s)->name = u"Changed"_s;
    QSignalSpy resets(&registry, &Registry::registryReset);
    registry.loadBuiltinPrimitives();
    QCOMPARE(resets.size(), 1);
    QCOMPARE(registry.count(), 80);
    QVERIFY(registry.contains(u"ball"_s));
    QCOMPARE(registry.getDefinition(u"sphere"_s)->name, u"Sphere"_s);
}

void TstRegistry::sortsByCategoryOrderAndId()
{
    Registry registry;
    for (const auto &[id, category, order] :
         {std::tuple{u"d"_s, u"B"_s, 0}, std::tuple{u"c"_s, u"A"_s, 2},
          std::tuple{u"b"_s, u"A"_s, 1}, std::tuple{u"a"_s, u"A"_s, 2}}) {
        const DefinitionPtr definition = makeDefinition(id, {});
        definition->category = category;
        definition->sortOrder = order;
        registry.registerPrimitive(definition);
    }
    QStringList ids;
    for (const DefinitionPtr &definition : registry.getAllPrimitives())
        ids.append(definition->id);
    QCOMPARE(ids, (QStringList{u"b"_s, u"a"_s, u"c"_s, u"d"_s}));
}

void TstRegistry::takesParametersFromTheSignature()
{
    const QTemporaryDir dir;
    const QString path = writeFile(dir, u"ball.yaml"_s, uR"(id: ball
parameters:
  - name: gone
    defaultValue: 3
  - name: wallThickness
    displayName: Wall
    unit: mm
    minValue: 0.5
    drag: {mapping: multiplicative}
    gizmo:
      type: RadiusHandle
shaderCode: |
  float ballHelper(float x) { return x; }
  float sdf_ball(vec3 p, float radius, float wallThickness, vec3 tint) {
  return length(p) - ballHelper(radius);
  }
)"_s);
    const DefinitionPtr definition = Registry::loadPrimitiveFromYAMLFile(path);
    QVERIFY(definition);
    QCOMPARE(definition->nodeType, NodeType::Primitive);
    QCOMPARE(definition->helperFunctions, QStringList{u"ballHelper"_s});
    QCOMPARE(definition->parameters.size(), 3);
    QCOMPARE(definition->parameters[0].name, u"radius"_s);
    QCOMPARE(definition->parameters[0].defaultValue, QVariant(1.0));
    const ParameterDef &wall = definition->parameters[1];
    QCOMPARE(wall.displayName, u"Wall"_s);
    QCOMPARE(wall.unit, u"mm"_s);
    QCOMPARE(wall.minValue, QVariant(0.5));
    QCOMPARE(wall.maxValue, QVariant(10.0));
    QVERIFY(wall.drag && wall.drag->mapping == DragSpec::Mapping::Multiplicative);
    QVERIFY(wall.gizmo && wall.gizmo->type == u"RadiusHandle"_s);
    QCOMPARE(definition->parameters[2].type, SDFParameterType::Color);
}

void TstRegistry::testCompilesButLoadsWhatFails()
{
    const QTemporaryDir dir;
    const QString path = writeFile(
        dir, u"bad.yaml"_s, u"id: bad\nshaderCode: |\n  float sdf_bad(vec3 p) { return q; }"_s);
    for (int start = 0; start < 2; ++start) {
        expectWarning(u"^QSpirvCompiler: Failed to parse shader$"_s);
        expectWarning(u"^Registry: SPIR-V compilation failed for bad 'q' : undeclared"_s);
        const DefinitionPtr definition = Registry::loadPrimitiveFromYAMLFile(path);
        QVERIFY(definition);
        QVERIFY(!definition->spirvValid);
        QCOMPARE(definition->nodeType, NodeType::Primitive);
    }
}

void TstRegistry::reportsFilesItCannotRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::newRow("missing")
        << QString()
        << u"^Registry: Failed to open YAML file: .*x.yaml - No such file or directory$"_s;
    QTest::newRow("nothing in it")
        << u"# empty\n"_s << u"^Registry: Failed to create primitive from YAML$"_s;
    QTest::newRow("no YAML") << u"id: x\nno pair"_s
                             << u"^Registry: YAML parse error: Line 2, column 1: Expected key"_s;
}

void TstRegistry::reportsFilesItCannotRead()
{
    QFETCH(const QString, text);
    QFETCH(const QString, warning);
    const QTemporaryDir dir;
    const QString path =
        text.isEmpty() ? dir.filePath(u"x.yaml"_s) : writeFile(dir, u"x.yaml"_s, text);
    expectWarning(warning);
    QVERIFY(!Registry::loadPrimitiveFromYAMLFile(path));
}

void TstRegistry::refusesInvalidDefinitions()
{
    Registry registry;
    expectWarning(u"^Registry::registerPrimitive: Invalid primitive definition$"_s);
    registry.registerPrimitive({});
    expectWarning(u"^Registry::registerPrimitive: Invalid primitive definition$"_s);
    registry.registerPrimitive(makeDefinition({}, ballCode));
    QCOMPARE(registry.count(), 0);
}

void TstRegistry::analysesFileScopedDefinitions()
{
    Registry registry;
    QSignalSpy registered(&registry, &Registry::primitiveRegistered);
    const DefinitionPtr ball = makeDefinition(u"ball"_s, ballCode);
    registry.registerFileScopedPrimitive(ball);
    QCOMPARE(registered, (QList<QVariantList>{{u"ball"_s}}));
    QCOMPARE(ball->nodeType, NodeType::Primitive);
    QCOMPARE(ball->parameterTypes, (QStringList{u"vec3"_s, u"float"_s}));

    const DefinitionPtr odd = makeDefinition(u"odd"_s, u"vec2 helper(vec2 p) { return p; }"_s);
    odd->isOperator = true;
    expectWarning(u"^Registry: Signature analysis failed for odd No primary function found"_s);
    registry.registerFileScopedPrimitive(odd);
    QCOMPARE(odd->nodeType, NodeType::CSGOperator);
}

void TstRegistry::keepsOverridesThroughAReload()
{
    Registry registry;
    registry.loadBuiltinPrimitives();
    const DefinitionPtr own = makeDefinition(
        u"sphere"_s, u"float sdf_own_sphere(vec3 p, float r) {\nreturn length(p) - 2.0 * r;\n}"_s);
    registry.registerFileScopedPrimitive(own);
    registry.loadBuiltinPrimitives();
    QCOMPARE(registry.getDefinition(u"sphere"_s), own);
    QCOMPARE(registry.count(), 79);
    QVERIFY(registry.functionConflicts().isEmpty());

    QSignalSpy unregistered(&registry, &Registry::primitiveUnregistered);
    registry.unregisterPrimitive(u"sphere"_s);
    QCOMPARE(unregistered.size(), 1);
    QVERIFY(registry.getDefinition(u"sphere"_s)->isFromResources());
    registry.unregisterPrimitive(u"sphere"_s);
    QVERIFY(!registry.contains(u"sphere"_s));
    registry.unregisterPrimitive(u"sphere"_s);
    QCOMPARE(unregistered.size(), 2);
}

void TstRegistry::reportsConflictsAsTheyStand()
{
    const auto notices = [] {
        return ErrorManager::instance().errorsForSource(u"Registry: Function Conflict"_s).size();
    };
    Registry registry;
    QSignalSpy detected(&registry, &Registry::conflictsDetected);
    registry.registerFileScopedPrimitive(makeDefinition(u"b"_s, ballCode));
    QCOMPARE(detected.size(), 0);
    expectWarning(u"Function 'sdf_ball' is defined in multiple primitives: a, b"_s);
    expectWarning(u"^Registry: Detected 1 function name conflict\\(s\\)"_s);
    registry.registerFileScopedPrimitive(makeDefinition(u"a"_s, ballCode));
    QCOMPARE(detected.size(), 1);
    QCOMPARE(registry.functionConflicts().value(0).definitionIds, u"a, b"_s);
    QCOMPARE(notices(), 1);
    registry.unregisterPrimitive(u"b"_s);
    QVERIFY(registry.functionConflicts().isEmpty());
    QCOMPARE(notices(), 0);
}

void TstRegistry::reportsConflictsOfManyOnce()
{
    Registry registry;
    QSignalSpy detected(&registry, &Registry::conflictsDetected);
    QList<DefinitionPtr> definitions;
    for (int i = 0; i < 2000; ++i)
        definitions.append(makeDefinition(u"d%1"_s.arg(i), ballCode));
    expectWarning(u"Function 'sdf_ball' is defined in multiple primitives"_s);
    expectWarning(u"^Registry: Detected 1 function name conflict"_s);
    registry.registerFileScopedPrimitives(definitions);
    QCOMPARE(detected.size(), 1);
    ErrorManager::instance().clearAll();
}

void TstRegistry::savesAndLoadsTheUserLibrary()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"deep/er/library.json"_s);
    Registry registry;
    registry.loadBuiltinPrimitives();
    const DefinitionPtr ball = makeDefinition(u"ball"_s, ballCode);
    registry.registerPrimitive(ball);
    // What the open scene brings is the scene's, also under the id of one of the user's own.
    registry.registerFileScopedPrimitive(
        makeDefinition(u"guest"_s, QString(ballCode).replace(u"ball"_s, u"guest"_s)));
    const DefinitionPtr otherBall = makeDefinition(u"ball"_s, ballCode);
    otherBall->description = u"the scene's"_s;
    registry.registerFileScopedPrimitive(otherBall);
    QVERIFY(registry.saveUserLibrary(path));
    registry.unregisterPrimitive(u"ball"_s);
    QCOMPARE(registry.getDefinition(u"ball"_s), ball);

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject library = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(library.value(u"version"_s).toString(), u"1.0"_s);
    QCOMPARE(library.value(u"generatedBy"_s).toString(), u"SDF Primitive Registry"_s);
    QCOMPARE(library.value(u"primitives"_s).toArray().size(), 1);

    Registry other;
    QVERIFY(other.loadUserLibrary(path));
    QCOMPARE(other.count(), 1);
    QCOMPARE(other.getDefinition(u"ball"_s)->contentHash(), ball->contentHash());
    QCOMPARE(other.getDefinition(u"ball"_s)->nodeType, NodeType::Primitive);
}

void TstRegistry::skipsUserOverridesOfBuiltins()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"library.json"_s);
    Registry source;
    source.registerPrimitive(makeDefinition(u"sphere"_s, ballCode));
    QVERIFY(source.saveUserLibrary(path));
    Registry registry;
    registry.loadBuiltinPrimitives();
    expectWarning(u"^Registry: Skipping user library override of built-in primitive: sphere$"_s);
    QVERIFY(registry.loadUserLibrary(path));
    QVERIFY(registry.getDefinition(u"sphere"_s)->isFromResources());
}

void TstRegistry::reportsUnreadableUserLibraries_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << u""_s;
    QTest::newRow("truncated") << u"{\"primitives\": ["_s;
    QTest::newRow("a list") << u"[1]"_s;
    QTest::newRow("binary") << u"\u0001\u0002"_s;
}

void TstRegistry::reportsUnreadableUserLibraries()
{
    QFETCH(const QString, text);
    const QTemporaryDir dir;
    Registry registry;
    QVERIFY(!registry.loadUserLibrary(dir.filePath(u"not there.json"_s)));
    const QString path = writeFile(dir, u"library.json"_s, text);
    expectWarning(u"^Registry: Cannot read user library: "_s);
    QVERIFY(!registry.loadUserLibrary(path));
}

void TstRegistry::resolvesSourcePaths()
{
    QCOMPARE(Registry::resolveSourcePath(u":/sdf/operators/union.yaml"_s),
             u"/source/src/libs/libcorvane/corvane/sdf/operators/union.yaml"_s);
    QCOMPARE(Registry::resolveSourcePath(u"/home/me/x.yaml"_s), u"/home/me/x.yaml"_s);
}

QTEST_GUILESS_MAIN(TstRegistry)
#include "tst_Registry.moc"
