#include "TestDefinitions.h"

#include <corvane/registry/DefinitionValidation.h>
#include <corvane/yaml/YamlParser.h>
#include <corvane/yaml/YamlSerializer.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::registry;

class TstDefinition : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void readsNodeTypeWords_data();
    void readsNodeTypeWords();
    void namesNodeTypes();
    void readsParameterTypes_data();
    void readsParameterTypes();
    void readsHintsByCase_data();
    void readsHintsByCase();
    void readsDefaults();
    void survivesTheFileFormat();
    void countsChildren_data();
    void countsChildren();
    void tellsWhetherItIsValid_data();
    void tellsWhetherItIsValid();
    void hashesWhatChangesTheField_data();
    void hashesWhatChangesTheField();
    void faultsOfShippedDefinitionsAreNamed_data();
    void faultsOfShippedDefinitionsAreNamed();
};

namespace {

QVariantMap parse(const QString &text)
{
    QList<corvane::yaml::YamlParser::ParseError> errors;
    return corvane::yaml::YamlParser().parseToVariantMap(text, errors);
}

ParameterDef fullParameter()
{
    ParameterDef def;
    def.name = u"height"_s;
    def.displayName = u"Height"_s;
    def.description = u"From end to end"_s;
    def.type = SDFParameterType::Vec3;
    def.uiHint = UIHint::Distance;
    def.defaultValue = QVariantList{1.0, 2.5, -3.0};
    def.minValue = 0.001;
    def.maxValue = 100000.0;
    def.unit = u"mm"_s;
    def.section = u"Size"_s;
    def.stepValue = 0.5;
    def.required = false;
    def.drag = DragSpec{.mapping = DragSpec::Mapping::SymmetricSignedLog,
                        .bounded = true,
                        .deltaAtMin = 0.1,
                        .deltaAtMax = 0.2,
                        .sensitivity = 0.3,
                        .pivot = 0.4,
                        .linearCore = 0.5,
                        .signLock = false};
    GizmoSpec gizmo;
    gizmo.type = u"AxisHandle"_s;
    gizmo.axis = QVector3D(0, 1, 0);
    gizmo.symmetric = true;
    gizmo.scale = 0.1f;
    gizmo.offset = QVector3D(0.1f, 0, 0);
    gizmo.offsetParam = u"radius"_s;
    gizmo.rotation = QVector3D(0, 0, 90);
    def.gizmo = gizmo;
    return def;
}

DefinitionPtr fullDefinition()
{
    const DefinitionPtr definition =
        makeDefinition(u"mine"_s, u"float sdf_mine(vec3 p, vec3 height) {\nreturn p.x;\n}"_s);
    definition->description = u"Says \"hello\": # twice"_s;
    definition->author = u"Me"_s;
    definition->version = u"1.0.0"_s;
    definition->blend = u"float blend = 0.5;"_s;
    definition->previewScene = u":/a/b.corvane"_s;
    definition->sortOrder = 7;
    definition->tags = {u"a"_s, u"b"_s};
    definition->convenienceWrappers = {u"translate"_s, u"rotate"_s};
    definition->enabled = false;
    definition->nodeType = NodeType::CSGOperator;
    definition->primaryFunctionName = u"sdf_mine"_s;
    definition->isOperator = true;
    definition->operationType = 3;
    ParameterDef children;
    children.name = u"children"_s;
    children.type = SDFParameterType::SDFChildren;
    children.minChildren = 2;
    children.maxChildren = 5;
    children.childDisplayPattern = u"Part %1"_s;
    definition->parameters = {fullParameter(), children};
    definition->gizmoGroup = GizmoGroupSpec{
        .type = u"TranslateHandle"_s,
        .bindings = {{u"x"_s, u"offset.x"_s}, {u"y"_s, u"offset.y"_s}},
    };
    return definition;
}

void compareDefinitions(const Definition &a, const Definition &b)
{
    QCOMPARE(a.toVariantMap(), b.toVariantMap());
    QCOMPARE(a.parameters, b.parameters);
    QCOMPARE(a.gizmoGroup, b.gizmoGroup);
    QCOMPARE(a.nodeType, b.nodeType);
    QCOMPARE(a.contentHash(), b.contentHash());
}

} // namespace

void TstDefinition::readsNodeTypeWords_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<NodeType>("type");
    QTest::newRow("short") << u"prim"_s << NodeType::Primitive;
    QTest::newRow("display word") << u" CSG Operator "_s << NodeType::CSGOperator;
    QTest::newRow("joined") << u"PositionTransform"_s << NodeType::PositionTransform;
    QTest::newRow("modifier") << u"modifier"_s << NodeType::DistanceModifier;
    QTest::newRow("pam") << u"PAM"_s << NodeType::PositionAwareModifier;
    QTest::newRow("field") << u"scalarfield"_s << NodeType::ScalarField;
    QTest::newRow("unknown word") << u"sculpture"_s << NodeType::Unknown;
    QTest::newRow("empty") << u""_s << NodeType::Unknown;
}

void TstDefinition::readsNodeTypeWords()
{
    QFETCH(const QString, word);
    QFETCH(const NodeType, type);
    QCOMPARE(nodeTypeFromString(word), type);
    QCOMPARE(Definition::fromVariantMap({{u"nodeType"_s, word}})->nodeType, type);
}

void TstDefinition::namesNodeTypes()
{
    QCOMPARE(nodeTypeToString(NodeType::PositionAwareModifier), u"Position Aware Modifier"_s);
    QCOMPARE(nodeTypeToString(NodeType(7)), u"Invalid"_s);
    QCOMPARE(nodeTypeToString(NodeType(-1)), u"Invalid"_s);
    for (int i = 1; i < nodeTypeCount; ++i)
        QCOMPARE(nodeTypeFromString(nodeTypeToString(NodeType(i))), NodeType(i));
}

void TstDefinition::readsParameterTypes_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<SDFParameterType>("type");
    QTest::newRow("Float") << QVariant(u"Float"_s) << SDFParameterType::Float;
    QTest::newRow("decimal") << QVariant(u"decimal"_s) << SDFParameterType::Float;
    QTest::newRow("unknown word") << QVariant(u"Weird"_s) << SDFParameterType::Float;
    QTest::newRow("colour") << QVariant(u" Colour "_s) << SDFParameterType::Color;
    QTest::newRow("children") << QVariant(u"children"_s) << SDFParameterType::SDFChildren;
    QTest::newRow("number") << QVariant(4LL) << SDFParameterType::Vec3;
    QTest::newRow("number out of range") << QVariant(99LL) << SDFParameterType::Float;
    QTest::newRow("absent") << QVariant() << SDFParameterType::Float;
}

void TstDefinition::readsParameterTypes()
{
    QFETCH(const QVariant, value);
    QFETCH(const SDFParameterType, type);
    QCOMPARE(ParameterDef::fromVariantMap({{u"type"_s, value}}).type, type);
    QCOMPARE(sdfParameterTypeFromString(sdfParameterTypeToString(type)), type);
    QCOMPARE(sdfParameterTypeToString(SDFParameterType(10)), u"unknown"_s);
}

void TstDefinition::readsHintsByCase_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<UIHint>("hint");
    QTest::newRow("Slider") << QVariant(u"Slider"_s) << UIHint::Slider;
    QTest::newRow("slider") << QVariant(u"slider"_s) << UIHint::Default;
    QTest::newRow("number") << QVariant(6LL) << UIHint::Percentage;
    QTest::newRow("number out of range") << QVariant(-1LL) << UIHint::Default;
}

void TstDefinition::readsHintsByCase()
{
    QFETCH(const QVariant, value);
    QTEST(ParameterDef::fromVariantMap({{u"uiHint"_s, value}}).uiHint, "hint");
}

void TstDefinition::readsDefaults()
{
    const DefinitionPtr definition = Definition::fromVariantMap(
        {{u"unknown"_s, 1},
         {u"parameters"_s,
          QVariantList{QVariantMap{{u"gizmo"_s, QVariantMap{}}, {u"drag"_s, QVariantMap{}}},
                       u"no map"_s}}});
    QVERIFY(definition->enabled);
    QCOMPARE(definition->operationType, -1);
    QCOMPARE(definition->parameters.size(), 2);
    QCOMPARE(definition->parameters[0], ParameterDef());
    QVERIFY(definition->parameters[0].required);
    QCOMPARE(definition->parameters[0].maxChildren, -1);
    const GizmoSpec gizmo = GizmoSpec::fromVariantMap({{u"axis"_s, QVariantList{1.0, 2.0}}});
    QVERIFY(!gizmo.axis);
    QCOMPARE(DragSpec::fromVariantMap({{u"mapping"_s, u" Multiplicative "_s}}).mapping,
             DragSpec::Mapping::Multiplicative);
}

void TstDefinition::survivesTheFileFormat()
{
    const DefinitionPtr definition = fullDefinition();
    corvane::yaml::YamlSerializer::Options options;
    options.lossless = true;
    QCOMPARE(definition->toVariantMap().value(u"fromResources"_s), QVariant(false));
    const QString text = corvane::yaml::YamlSerializer(options).serializeMap(
        {{u"definitions"_s, QVariantList{definition->toVariantMap()}}});
    const QVariantList read = parse(text).value(u"definitions"_s).toList();
    QCOMPARE(read.size(), 1);
    compareDefinitions(*Definition::fromVariantMap(read[0].toMap()), *definition);
}

void TstDefinition::countsChildren_data()
{
    QTest::addColumn<QString>("yaml");
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::newRow("none") << u"parameters:\n  - name: a"_s << 0 << 0;
    QTest::newRow("one, required") << u"parameters:\n  - name: a\n    type: sdf_child"_s << 1 << 1;
    QTest::newRow("one, optional")
        << u"parameters:\n  - name: a\n    type: child\n    required: false\n    maxChildren: 7"_s
        << 0 << 1;
    QTest::newRow("no limit")
        << u"parameters:\n  - name: a\n    type: sdf_children\n    minChildren: 2\n    maxChildren: -1"_s
        << 2 << -1;
}

void TstDefinition::countsChildren()
{
    QFETCH(const QString, yaml);
    const DefinitionPtr definition = Definition::fromVariantMap(parse(yaml));
    QTEST(definition->minChildren(), "minimum");
    QTEST(definition->maxChildren(), "maximum");
}

void TstDefinition::tellsWhetherItIsValid_data()
{
    using Change = std::function<void(Definition &)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("complete") << Change([](Definition &) {}) << true;
    QTest::newRow("no id") << Change([](Definition &d) { d.id.clear(); }) << false;
    QTest::newRow("no code") << Change([](Definition &d) { d.shaderCode.clear(); }) << false;
    QTest::newRow("nameless parameter")
        << Change([](Definition &d) { d.parameters[0].name.clear(); }) << false;
    QTest::newRow("name twice") << Change([](Definition &d) {
        d.parameters[0].name = d.parameters[1].name;
    }) << false;
}

void TstDefinition::tellsWhetherItIsValid()
{
    QFETCH(const std::function<void(Definition &)>, change);
    QFETCH(const bool, isValid);
    const DefinitionPtr definition = fullDefinition();
    change(*definition);
    QCOMPARE(definition->isValid(), isValid);
}

void TstDefinition::hashesWhatChangesTheField_data()
{
    using Change = std::function<void(Definition &)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("isOther");
    QTest::newRow("description") << Change([](Definition &d) { d.description = u"x"_s; }) << false;
    QTest::newRow("blanks around the code")
        << Change([](Definition &d) { d.shaderCode += u"\n  "_s; }) << false;
    QTest::newRow("order of parameters")
        << Change([](Definition &d) { d.parameters.swapItemsAt(0, 1); }) << false;
    QTest::newRow("a vector for its components") << Change([](Definition &d) {
        d.parameters[0].defaultValue = QVector3D(1.0f, 2.5f, -3.0f);
    }) << false;
    QTest::newRow("code") << Change([](Definition &d) { d.shaderCode += u";"_s; }) << true;
    QTest::newRow("blend") << Change([](Definition &d) { d.blend += u";"_s; }) << true;
    QTest::newRow("default value") << Change([](Definition &d) {
        d.parameters[0].defaultValue = QVariantList{1, 2, 3};
    }) << true;
    QTest::newRow("type of a parameter")
        << Change([](Definition &d) { d.parameters[0].type = SDFParameterType::Color; }) << true;
}

void TstDefinition::hashesWhatChangesTheField()
{
    QFETCH(const std::function<void(Definition &)>, change);
    const DefinitionPtr definition = fullDefinition();
    const QByteArray before = definition->contentHash();
    QCOMPARE(before.size(), 32);
    change(*definition);
    QTEST(definition->contentHash() != before, "isOther");
}

void TstDefinition::faultsOfShippedDefinitionsAreNamed_data()
{
    QTest::addColumn<QVariantMap>("second"); // of two parameters
    QTest::addColumn<QStringList>("errors");
    const QString prefix = u"Parameter 1 (b): "_s;
    const auto row = [](const char *name, const QVariantMap &second, const QStringList &errors) {
        QTest::newRow(name) << second << errors;
    };
    row("none", {{u"min"_s, 1}, {u"max"_s, 2}}, {});
    row("limits in the wrong order", {{u"min"_s, 2}, {u"max"_s, 1}},
        {prefix + u"min value must be less than max value"_s});
    row("limits that are equal", {{u"min"_s, 1}, {u"max"_s, 1}},
        {prefix + u"min value must be less than max value"_s});
    row("a limit that is no number", {{u"max"_s, u"x"_s}},
        {prefix + u"max value must be numeric"_s});
    row("two of one name", {{u"name"_s, u"a"_s}}, {u"Parameter 1 (a): duplicate parameter name"_s});
}

void TstDefinition::faultsOfShippedDefinitionsAreNamed()
{
    QFETCH(const QVariantMap, second);
    const auto definition =
        makeDefinition(u"ball"_s, u"float sdf_ball(vec3 p, float a, float b)"_s);
    for (const QString &name : {u"a"_s, u"b"_s}) {
        ParameterDef parameter;
        parameter.name = parameter.displayName = name;
        definition->parameters.append(parameter);
    }
    ParameterDef &last = definition->parameters.last();
    last.name = second.value(u"name"_s, last.name).toString();
    last.minValue = second.value(u"min"_s);
    last.maxValue = second.value(u"max"_s);
    QTEST(validateBuiltin(*definition), "errors");
}

QTEST_APPLESS_MAIN(TstDefinition)
#include "tst_Definition.moc"
