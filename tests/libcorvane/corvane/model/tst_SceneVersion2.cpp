#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/LogicalScene.h>
#include <support/LogicalSceneMaker.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

LogicalParseResult parse(const QString &text)
{
    return CorvaneDSLParser::parseLogical(text);
}

QVariantMap block(const QString &text)
{
    return parse(text).documentBlock;
}

QUuid idOf(const LogicalScene &scene, const QString &name)
{
    for (const LogicalInstance &node : scene.instances()) {
        if (node.name == name)
            return node.id;
    }
    return {};
}

LogicalInstance nodeOf(const LogicalScene &scene, const QString &name)
{
    const LogicalInstance *node = scene.instance(idOf(scene, name));
    return node ? *node : LogicalInstance(QUuid());
}

QStringList namesOf(const LogicalScene &scene, const QList<QUuid> &ids)
{
    QStringList names;
    for (const QUuid &id : ids)
        names.append(scene.instance(id)->name);
    return names;
}

/// The nodes with places in the tree instead of ids, which a file does not keep. What had no name
/// is called as its key afterwards.
QVariantList content(const QList<LogicalInstance> &nodes)
{
    QHash<QString, int> places;
    for (const LogicalInstance &node : nodes)
        places.insert(node.id.toString(QUuid::WithoutBraces), int(places.size()));
    QVariantList list;
    for (const LogicalInstance &node : nodes) {
        QVariantMap map = node.toVariantMap();
        map.remove(u"id"_s);
        QVariantList children;
        for (const QVariant &child : map.value(u"children"_s).toList())
            children.append(places.value(child.toString()));
        map.insert(u"children"_s, children);
        if (QRegularExpression(u"^[0-9a-f]{8}(_\\d+)?$"_s).match(node.name).hasMatch())
            map.remove(u"name"_s);
        list.append(map);
    }
    return list;
}

QVariantList content(const LogicalScene &scene)
{
    QList<LogicalInstance> drawn;
    for (const QUuid &root : scene.roots()) {
        for (const QUuid &id : scene.subtree(root))
            drawn.append(*scene.instance(id));
    }
    return content(drawn);
}

} // namespace

class TstSceneVersion2 : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void readsNodes();
    void transformsComeFromWrappers_data();
    void transformsComeFromWrappers();
    void wrapperOrder_data();
    void wrapperOrder();
    void everythingSurvivesAFile_data();
    void everythingSurvivesAFile();
    void documentSurvivesAFile();
    void materialsAreFoundAgain();
    void keysAreReadable_data();
    void keysAreReadable();
    void namesakesKeepTheirKeys();
    void componentsInBothForms_data();
    void componentsInBothForms();
    void componentsThatCannotBeMade_data();
    void componentsThatCannotBeMade();
    void filterKeepsAPart();
    void danglingReferencesAreDropped_data();
    void danglingReferencesAreDropped();
    void contradictionsMakeATree_data();
    void contradictionsMakeATree();
    void mixedGenerations_data();
    void mixedGenerations();
    void definitionsOfTheFileSayTheWrappers();
    void hugeScenesLoad_data();
    void hugeScenesLoad();
    void failedSaveLeavesTheOldFile();
    void samplesAreStable_data();
    void samplesAreStable();
};

void TstSceneVersion2::readsNodes()
{
    const auto result = parse(uR"yaml(formatVersion: 2
corvane:
  version: 2
  name: "Demo"
  instances:
    body:
      type: union
      children: [ball, group]
      blendSharpness: 0.5
      materialMode: 1
      densityScale: 2
      shellThickness: 0.25
    ball:
      type: sphere
      params: {radius: 2.5}
      translate: [1, 2, 3]
      tags: [locked, hidden]
      material: {roughness: 0.25}
      materialId: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14
    group:
      children: [cube]
    cube:
      type: box
      wrappers:
        onion: {thickness: 0.5}
        rotate:
  roots: [body]
)yaml"_s);
    QVERIFY(result.errors.isEmpty());
    QCOMPARE(result.warnings, QStringList());
    const LogicalScene &scene = *result.logicalScene;
    QCOMPARE(namesOf(scene, scene.nodesInOrder()),
             QStringList({u"body"_s, u"ball"_s, u"group"_s, u"cube"_s}));
    QCOMPARE(namesOf(scene, scene.roots()), QStringList{u"body"_s});
    const LogicalInstance body = nodeOf(scene, u"body"_s);
    QCOMPARE(body.modifiers.blendSharpness, 0.5f);
    QCOMPARE(body.modifiers.materialMode, 1);
    QCOMPARE(body.modifiers.densityScale, 2.0f);
    QCOMPARE(body.modifiers.shellThickness, 0.25f);
    const LogicalInstance ball = nodeOf(scene, u"ball"_s);
    QCOMPARE(ball.params, QVariantMap({{u"radius"_s, 2.5}}));
    QCOMPARE(ball.translate, QVector3D(1, 2, 3));
    QCOMPARE(ball.tags, QSet<QString>({u"locked"_s, u"hidden"_s}));
    QCOMPARE(ball.material.roughness, 0.25f);
    QVERIFY(!ball.materialId.isNull());
    // The definition's wrappers, since the file names none.
    QCOMPARE(ball.wrappers,
             QList<WrapperValues>({{u"translate"_s, {}}, {u"rotate"_s, {}}, {u"scale"_s, {}}}));
    QVERIFY(scene.isContainer(idOf(scene, u"group"_s)));
    QCOMPARE(nodeOf(scene, u"cube"_s).wrappers,
             QList<WrapperValues>({{u"rotate"_s, {}}, {u"onion"_s, {{u"thickness"_s, 0.5}}}}));
    QCOMPARE(result.documentBlock.value(u"name"_s), QVariant(u"Demo"_s));
}

void TstSceneVersion2::transformsComeFromWrappers_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QVector3D>("translate");
    QTest::addColumn<QVector3D>("rotate");
    QTest::addColumn<QVector3D>("scale");
    const auto row = [](const char *name, const QString &node, const QVector3D &translate,
                        const QVector3D &rotate = {}, const QVector3D &scale = {1, 1, 1}) {
        QTest::newRow(name) << node << translate << rotate << scale;
    };
    const QString offset = u"wrappers: {translate: {offset: [1, 2, 3]}"_s;
    row("offset", offset + u'}', {1, 2, 3});
    row("own translate wins", u"translate: [4, 0, 0]\n    "_s + offset + u'}', {4, 0, 0});
    row("each for itself",
        u"translate: [4, 0, 0]\n    "_s + offset + u", rotate: {angles: [0, 90, 0]}}"_s, {4, 0, 0},
        {0, 90, 0});
    row("factor for all axes", u"wrappers: {scale: {factor: 1.5}}"_s, {}, {}, {1.5f, 1.5f, 1.5f});
    row("factor by axis", u"wrappers: {scale: {factor: [2, 3, 4]}}"_s, {}, {}, {2, 3, 4});
    row("value of an expression",
        u"wrappers: {translate: {offset: {expr: \"a\", fallback: [5, 0, 0]}}}"_s, {5, 0, 0});
    row("no numbers", u"wrappers: {translate: {offset: [a, b, c]}}"_s, {});
    row("stated default", u"translate: [0, 0, 0]\n    "_s + offset + u'}', {});
}

void TstSceneVersion2::transformsComeFromWrappers()
{
    QFETCH(const QString, node);
    const auto scene =
        parse(u"formatVersion: 2\ninstances:\n  a:\n    type: box\n    "_s + node + u'\n')
            .logicalScene;
    const LogicalInstance a = nodeOf(*scene, u"a"_s);
    QTEST(a.translate, "translate");
    QTEST(a.rotate, "rotate");
    QTEST(a.scale, "scale");
    QCOMPARE(LogicalInstance::fromVariantMap(a.toVariantMap()), a);
}

void TstSceneVersion2::wrapperOrder_data()
{
    QTest::addColumn<QStringList>("stack");
    QTest::addColumn<bool>("isStated");
    QTest::newRow("as the definition has it")
        << QStringList{u"translate"_s, u"rotate"_s, u"scale"_s} << false;
    QTest::newRow("then by key") << QStringList{u"translate"_s, u"elongate"_s, u"onion"_s} << false;
    QTest::newRow("another") << QStringList{u"rotate"_s, u"translate"_s} << true;
    QTest::newRow("modifier outside") << QStringList{u"onion"_s, u"translate"_s} << true;
    QTest::newRow("none") << QStringList() << true;
}

void TstSceneVersion2::wrapperOrder()
{
    QFETCH(const QStringList, stack);
    LogicalScene scene;
    const QUuid id = scene.addInstance(u"box"_s);
    QList<WrapperValues> wrappers;
    for (const QString &wrapper : stack)
        wrappers.append({wrapper, {}});
    scene.setWrappers(id, wrappers);
    const QString text = CorvaneDSLSerializer::serializeLogical(scene);
    QTEST(text.contains(u"wrapperOrder"_s), "isStated");
    QCOMPARE(nodeOf(*parse(text).logicalScene, u"Box 1"_s).wrappers, wrappers);
    QCOMPARE(LogicalInstance::fromVariantMap(scene.instance(id)->toVariantMap()).wrappers,
             wrappers);
}

void TstSceneVersion2::everythingSurvivesAFile_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("count");
    for (quint32 seed = 1; seed <= 60; ++seed)
        QTest::addRow("seed %u", seed) << seed << int(seed % 40 + 1);
}

void TstSceneVersion2::everythingSurvivesAFile()
{
    QFETCH(const quint32, seed);
    QFETCH(const int, count);
    LogicalScene made;
    support::LogicalSceneMaker(seed).fill(made, count);
    QCOMPARE(made.instances().size(), count);
    LogicalScene taken;
    taken.fromVariantMap(made.toVariantMap());
    QCOMPARE(taken.toVariantMap(), made.toVariantMap());
    QCOMPARE(taken.instances(), made.instances());

    const QString first = CorvaneDSLSerializer::serializeLogical(made, u"n"_s, u"cm"_s);
    const auto loaded = parse(first);
    QCOMPARE(loaded.warnings, QStringList());
    QCOMPARE(support::treeFaults(*loaded.logicalScene), QStringList());
    QCOMPARE(loaded.logicalScene->instances().size(), count);
    QCOMPARE(content(*loaded.logicalScene), content(made));
    const auto &components = loaded.logicalScene->componentRegistry()->definitions();
    for (const auto &component : components) {
        const auto original = made.componentRegistry()->definition(component.id);
        QCOMPARE(component.name, original.name);
        QCOMPARE(component.promotions.size(), original.promotions.size());
        QCOMPARE(structureNodesOf(component).size(), structureNodesOf(original).size());
    }

    const QString second =
        CorvaneDSLSerializer::serializeLogical(*loaded.logicalScene, u"n"_s, u"cm"_s);
    QCOMPARE(second, first);
    QCOMPARE(parse(second).logicalScene->toVariantMap(), loaded.logicalScene->toVariantMap());
}

void TstSceneVersion2::documentSurvivesAFile()
{
    Corvane document;
    document.setName(u"A: name"_s);
    document.setUnits(u"inch"_s);
    document.setVariableEntry(u"width"_s, {.value = 4.5, .unit = u"mm"_s});
    document.setVariableEntry(u"depth"_s, {.value = 0, .expression = u"width*2"_s});
    document.setNamedVarset(u"more"_s, {{u"b"_s, {.value = 1}}, {u"a"_s, {.value = 2}}});
    document.setSceneSetting(u"export.cellSize"_s, 0.25);
    document.setMetadata({{u"author"_s, u"me"_s}});
    const auto definition = QSharedPointer<corvane::registry::Definition>::create();
    definition->id = u"mine"_s;
    definition->shaderCode = u"float sdf_mine(vec3 p) {\nreturn 1.0;\n}"_s;
    document.addCustomDefinition(definition);
    // A material of the catalogue would come into the file beside those of the document.
    LogicalScene::setDefaultMaterialSource([] { return QUuid(); });
    const auto forget = qScopeGuard([] { LogicalScene::setDefaultMaterialSource({}); });
    LogicalScene scene;
    scene.addInstance(u"box"_s);

    const QString text = CorvaneDSLSerializer::serializeLogical(scene, document);
    Corvane loaded;
    QSignalSpy changes(&loaded, &Corvane::sceneChanged);
    QStringList warnings;
    DocumentBlock::apply(block(text), loaded, &warnings);
    QCOMPARE(warnings, QStringList());
    QCOMPARE(changes.size(), 1);
    QCOMPARE(loaded.toVariantMap(), document.toVariantMap());
    QCOMPARE(loaded.varsetOrder(), QStringList({u"width"_s, u"depth"_s}));
    QCOMPARE(loaded.namedVarsetEntryOrder(u"more"_s), document.namedVarsetEntryOrder(u"more"_s));
    QCOMPARE(loaded.customDefinitions().size(), 1);
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(*parse(text).logicalScene, loaded), text);
}

void TstSceneVersion2::materialsAreFoundAgain()
{
    CatalogMaterial gold;
    gold.name = u"Gold"_s;
    gold.isBuiltIn = true;
    gold.setMetallic(1.0f);
    Corvane::setMaterialSource(
        [&gold](const QUuid &id) { return id == gold.id ? std::optional(gold) : std::nullopt; });
    const auto forget = qScopeGuard([] { Corvane::setMaterialSource({}); });
    LogicalScene scene;
    const QUuid id = scene.addInstance(u"box"_s);
    scene.setInstanceMaterial(id, {}, gold.id);
    const QString text = CorvaneDSLSerializer::serializeLogical(scene, Corvane());

    Corvane::setMaterialSource({}); // the next run has other ids
    const auto result = parse(text);
    Corvane loaded;
    DocumentBlock::apply(result.documentBlock, loaded);
    QCOMPARE(content(*result.logicalScene), content(scene));
    QCOMPARE(loaded.material(gold.id)->name, u"Gold"_s);
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(*result.logicalScene, loaded), text);
    // Where the document does not get the file's materials, the items have their values.
    const auto compiled = CorvaneDSLParser::parseText(text).scene;
    QCOMPARE(compiled->materials().size(), 0);
    const QUuid node = idOf(*result.logicalScene, u"Box 1"_s);
    const QString core = LogicalSceneCompiler::instanceName(node, u"core"_s);
    QCOMPARE(compiled->item(compiled->instanceIdByName(core)).material, gold.material);

    // A node that is made in that run names the catalogue's, and is written with the file's.
    const QUuid oldId = gold.id;
    gold.id = QUuid::createUuid();
    Corvane::setMaterialSource([&gold](const QUuid &wanted) {
        return wanted == gold.id ? std::optional(gold) : std::nullopt;
    });
    LogicalScene &tree = *result.logicalScene;
    tree.setInstanceMaterial(tree.addInstance(u"box"_s), {}, gold.id);
    const auto again = parse(CorvaneDSLSerializer::serializeLogical(tree, loaded));
    QCOMPARE(nodeOf(*again.logicalScene, u"Box 2"_s).materialId, oldId);
    QCOMPARE(again.documentBlock.value(u"materials"_s).toMap().keys(), QStringList{u"Gold"_s});
    // One that was changed since is another.
    gold.setRoughness(0.9f);
    const auto changed = parse(CorvaneDSLSerializer::serializeLogical(tree, loaded));
    QCOMPARE(nodeOf(*changed.logicalScene, u"Box 2"_s).materialId, gold.id);
    QCOMPARE(changed.documentBlock.value(u"materials"_s).toMap().size(), 2);
}

void TstSceneVersion2::keysAreReadable_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("keys");
    const QString id = u"abcd1234-0000-4000-8000-00000000000"_s;
    QTest::newRow("names") << QStringList{u"Box 1"_s, u"my-part"_s, u"a.b"_s, u"\u00e4"_s}
                           << QStringList{u"Box 1"_s, u"my-part"_s, u"a.b"_s, u"\u00e4"_s};
    QTest::newRow("no names") << QStringList{QString(), QString(), QString()}
                              << QStringList{u"abcd1234"_s, u"abcd1234_2"_s, u"abcd1234_3"_s};
    QTest::newRow("namesakes") << QStringList{u"a"_s, u"a_2"_s, u"a"_s, u"a"_s}
                               << QStringList{u"a"_s, u"a_2"_s, u"a_3"_s, u"a_4"_s};
    QTest::newRow("unsafe") << QStringList{u"a: b"_s, u"#"_s, u"-x"_s, u" x"_s, u"a'b"_s}
                            << QStringList{id + u'0', id + u'1', id + u'2', id + u'3', id + u'4'};
    QTest::newRow("an id for a name") << QStringList{id + u'7'} << QStringList{id + u'0'};
}

void TstSceneVersion2::keysAreReadable()
{
    QFETCH(const QStringList, names);
    QFETCH(const QStringList, keys);
    QVariantList nodes;
    QVariantList roots;
    for (qsizetype i = 0; i < names.size(); ++i) {
        LogicalInstance node(QUuid::fromString(u"abcd1234-0000-4000-8000-00000000000%1"_s.arg(i)));
        node.definitionId = u"box"_s;
        node.name = names.at(i);
        nodes.append(node.toVariantMap());
        roots.append(node.id.toString());
    }
    LogicalScene scene;
    scene.fromVariantMap({{u"instances"_s, nodes}, {u"roots"_s, roots}});
    const QString text = CorvaneDSLSerializer::serializeLogical(scene);
    QCOMPARE(block(text).value(u"roots"_s).toStringList(), keys);
    const auto loaded = parse(text).logicalScene;
    QStringList expected = names;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (names.at(i).isEmpty())
            expected[i] = keys.at(i);
    }
    QCOMPARE(namesOf(*loaded, loaded->roots()), expected);
}

void TstSceneVersion2::namesakesKeepTheirKeys()
{
    // Whatever the order of the tree says: these stood the other way round when they were read.
    const QString text = u"formatVersion: 2\ninstances:\n  a: {type: box}\n"
                         "  a_2: {type: sphere, name: a}\n  a_3: {type: torus, name: a}\n"
                         "roots: [a_3, a_2, a]\n"_s;
    const QVariantMap nodes =
        block(CorvaneDSLSerializer::serializeLogical(*parse(text).logicalScene))
            .value(u"instances"_s)
            .toMap();
    QCOMPARE(nodes.value(u"a"_s).toMap().value(u"type"_s), QVariant(u"box"_s));
    QCOMPARE(nodes.value(u"a_3"_s).toMap().value(u"type"_s), QVariant(u"torus"_s));
}

void TstSceneVersion2::componentsInBothForms_data()
{
    QTest::addColumn<QString>("instances");
    QTest::newRow("map") << uR"(
        top: {type: union, children: [ball]}
        ball: {type: sphere, translate: [1, 0, 0]})"_s;
    QTest::newRow("list") << uR"(
        - name: top
          type: union
          children: [ball]
        - name: ball
          type: sphere
          translate: [1, 0, 0])"_s;
    QTest::newRow("list with keys") << uR"(
        - key: top
          type: union
          name: top
          children: ["@ball"]
        - key: ball
          name: ball
          type: sphere
          translate: [1, 0, 0])"_s;
}

void TstSceneVersion2::componentsInBothForms()
{
    QFETCH(const QString, instances);
    const auto result = parse(uR"(formatVersion: 2
instances:
  knob: {component: part, params: {size: 3}}
roots: [knob]
components:
  part:
    name: Part
    category: Things
    description: "A part"
    root: top
    interface:
      -
        alias: size
        displayName: Size
        target: {item: ball, param: radius}
      -
        alias: lost
        target: {item: nobody, param: radius}
    instances:)"_s + instances +
                              u'\n');
    QCOMPARE(
        result.warnings,
        QStringList{
            u"Component part: promotion \"lost\" targets unknown item \"nobody\" \u2014 dropped"_s});
    const LogicalScene &scene = *result.logicalScene;
    QCOMPARE(scene.instances().size(), 1);
    QVERIFY(scene.isComponentInstance(scene.roots().first()));
    const auto definition = scene.componentRegistry()->definition(u"part"_s);
    QCOMPARE(definition.name, u"Part"_s);
    QCOMPARE(definition.category, u"Things"_s);
    QCOMPARE(definition.description, u"A part"_s);
    const QList<LogicalInstance> nodes = structureNodesOf(definition);
    QCOMPARE(nodes.size(), 2);
    QCOMPARE(nodes.first().name, u"top"_s);
    QCOMPARE(nodes.first().id, definition.structureRootId());
    QCOMPARE(nodes.first().children, QList<QUuid>{nodes.last().id});
    QCOMPARE(nodes.last().translate, QVector3D(1, 0, 0));
    QVERIFY(nodes.last().wrapper(u"translate"_s));
    QCOMPARE(definition.promotions.size(), 1);
    QCOMPARE(definition.promotions.first().targetNode, nodes.last().id);
    const QString text = CorvaneDSLSerializer::serializeLogical(scene);
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(*parse(text).logicalScene), text);
}

void TstSceneVersion2::componentsThatCannotBeMade_data()
{
    QTest::addColumn<QString>("components");
    QTest::addColumn<QStringList>("warnings");
    QTest::addColumn<int>("made");
    QTest::addColumn<int>("expanded");
    QTest::newRow("no root")
        << u"  a: {instances: {x: {type: box}}, root: y}\n"_s
        << QStringList{u"Component a: unknown structure root \"y\" \u2014 left expanded"_s} << 0
        << 1;
    QTest::newRow("no nodes")
        << u"  a: {root: y}\n  b:\n"_s
        << QStringList{u"Component a: unknown structure root \"y\" \u2014 left expanded"_s,
                       u"Component b: unknown structure root \"\" \u2014 left expanded"_s}
        << 0 << 0;
    const QString cycle =
        u"A component cannot contain itself (directly or through another component)."_s;
    QTest::newRow("itself") << u"  a: {instances: {x: {component: a}}, root: x}\n"_s
                            << QStringList{u"Component a: "_s + cycle + u" \u2014 left expanded"_s}
                            << 0 << 1;
    QTest::newRow("through another")
        << u"  a: {instances: {x: {component: b}}, root: x}\n  b: {instances: {x: {component: a}}, root: x}\n"_s
        << QStringList{u"Component b: "_s + cycle + u" \u2014 left expanded"_s} << 1 << 1;
    QTest::newRow("unsound structure")
        << u"  a: {instances: {x: {type: union, children: [y, y, x]}, y: {type: box}}, root: x}\n"_s
        << QStringList{u"Component a: Instance \"y\" has a place already; the one below \"x\" was dropped"_s,
                       u"Component a: Instance \"x\" has a place already; the one below \"x\" was dropped"_s}
        << 1 << 0;
}

void TstSceneVersion2::componentsThatCannotBeMade()
{
    QFETCH(const QString, components);
    QFETCH(const int, expanded);
    const auto result = parse(
        u"formatVersion: 2\ninstances: {k: {type: box}}\nroots: [k]\ncomponents:\n"_s + components);
    QTEST(result.warnings, "warnings");
    QTEST(int(result.logicalScene->componentRegistry()->definitions().size()), "made");
    QCOMPARE(result.logicalScene->instances().size(), 1 + expanded);
    QCOMPARE(result.logicalScene->roots().size(), 1); // what is left expanded draws nothing
    QCOMPARE(support::treeFaults(*result.logicalScene), QStringList());
}

void TstSceneVersion2::filterKeepsAPart()
{
    const auto scene = parse(uR"(formatVersion: 2
instances:
  all: {type: union, children: [a, b]}
  a: {type: subtract, children: [c, d]}
  b: {component: used}
  c: {type: box}
  d: {type: box}
roots: [all]
components:
  used: {instances: {x: {component: below}}, root: x}
  below: {instances: {x: {type: box}}, root: x}
  unused: {instances: {x: {type: box}}, root: x}
)"_s)
                           .logicalScene;
    const auto written = [&](const QStringList &names) {
        QSet<QUuid> filter;
        for (const QString &name : names)
            filter.insert(idOf(*scene, name));
        return block(CorvaneDSLSerializer::serializeLogicalFiltered(*scene, u"n"_s, {}, filter));
    };
    const QVariantMap part = written({u"a"_s, u"d"_s, u"b"_s});
    const QVariantMap nodes = part.value(u"instances"_s).toMap();
    QCOMPARE(nodes.keys(), QStringList({u"a"_s, u"b"_s, u"d"_s}));
    QCOMPARE(part.value(u"roots"_s).toStringList(), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(part.value(u"components"_s).toMap().keys(), QStringList({u"below"_s, u"used"_s}));
    QCOMPARE(nodes.value(u"a"_s).toMap().value(u"children"_s).toStringList(), QStringList{u"d"_s});
    QVERIFY(!written({u"c"_s}).contains(u"components"_s));
}

void TstSceneVersion2::danglingReferencesAreDropped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("warnings");
    QTest::addColumn<int>("roots");
    QTest::newRow("child") << u"instances: {a: {type: union, children: [x]}}\nroots: [a]\n"_s
                           << QStringList{u"Unknown child reference: x"_s} << 1;
    QTest::newRow("root") << u"instances: {a: {type: box}}\nroots: [x, a]\n"_s
                          << QStringList{u"Unknown root reference: x"_s} << 1;
    QTest::newRow("all roots") << u"instances: {a: {type: box}}\nroots: [x, y]\n"_s
                               << QStringList{u"Unknown root reference: x"_s,
                                              u"Unknown root reference: y"_s}
                               << 0;
    QTest::newRow("no map") << u"instances: {a: 5, b: {type: box}}\nroots: [b]\n"_s
                            << QStringList{u"Instance 'a' is no map and was dropped"_s} << 1;
    QTest::newRow("no roots key")
        << u"instances: {a: {type: union, children: [b]}, b: {type: box}, c: {type: box}}\n"_s
        << QStringList() << 2;
    QTest::newRow("nothing") << u"name: x\n"_s << QStringList() << 0;
    QTest::newRow("newer version") << u"instances: {a: {type: box}}\n"_s << QStringList() << 1;
}

void TstSceneVersion2::danglingReferencesAreDropped()
{
    QFETCH(const QString, text);
    QFETCH(const int, roots);
    const auto result = parse(u"formatVersion: 7\n"_s + text);
    QVERIFY(result.logicalScene);
    QTEST(result.warnings, "warnings");
    QCOMPARE(result.logicalScene->roots().size(), roots);
}

void TstSceneVersion2::contradictionsMakeATree_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("drawn");
    QTest::addColumn<int>("count");
    QTest::newRow("cycle below a root")
        << u"instances: {a: {type: union, children: [b]}, b: {type: union, children: [a]}}\nroots: [a]\n"_s
        << QStringList{u"a"_s, u"b"_s} << 2;
    QTest::newRow("itself") << u"instances: {a: {type: union, children: [a]}}\nroots: [a]\n"_s
                            << QStringList{u"a"_s} << 1;
    QTest::newRow("cycle beside the roots")
        << u"instances: {r: {type: box}, a: {children: [b]}, b: {children: [c]}, c: {children: [a]}}\nroots: [r]\n"_s
        << QStringList{u"r"_s} << 4;
    QTest::newRow("two parents")
        << u"instances: {a: {children: [x]}, b: {children: [x]}, x: {type: box}}\nroots: [a, b]\n"_s
        << QStringList{u"a"_s, u"x"_s, u"b"_s} << 3;
    QTest::newRow("root and child")
        << u"instances: {a: {children: [x]}, x: {type: box}}\nroots: [x, a]\n"_s
        << QStringList{u"x"_s, u"a"_s} << 2;
    QTest::newRow("root twice") << u"instances: {a: {type: box}}\nroots: [a, a]\n"_s
                                << QStringList{u"a"_s} << 1;
}

void TstSceneVersion2::contradictionsMakeATree()
{
    QFETCH(const QString, text);
    const auto result = parse(u"formatVersion: 2\n"_s + text);
    const LogicalScene &scene = *result.logicalScene;
    QCOMPARE(support::treeFaults(scene), QStringList());
    QTEST(int(scene.instances().size()), "count");
    QStringList drawn;
    for (const QUuid &root : scene.roots())
        drawn += namesOf(scene, scene.subtree(root));
    QTEST(drawn, "drawn");
    const QString saved = CorvaneDSLSerializer::serializeLogical(scene);
    QCOMPARE(parse(saved).warnings, QStringList());
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(*parse(saved).logicalScene), saved);
}

void TstSceneVersion2::mixedGenerations_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("references among parameters")
        << u"formatVersion: 2\ninstances:\n  a: {type: union, params: {k: 1, children: [\"@b\", "
           u"\"@c\"]}}\n"
           "  b: {type: box}\n  c: {type: sphere}\nroots: [\"@a\"]\n"_s;
    QTest::newRow("keys of the oldest files")
        << u"formatVersion: 2\ninstances:\n  a: {definition: union, parameters: {k: 1}, "
           "children: [b, c]}\n  b: {definition: box}\n  c: {definition: sphere}\nroots: [a]\n"_s;
    QTest::newRow("by name and id")
        << u"formatVersion: 2\ninstances:\n  x: {type: union, name: a, params: {k: 1}, "
           "children: [b, 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14]}\n  y: {type: box, name: b}\n"
           "  c: {type: sphere, id: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14}\nroots: [a]\n"_s;
    QTest::newRow("version 1")
        << u"instances:\n  a: {type: union, params: {k: 1, children: [\"@b\", \"@c\"]}}\n"
           "  b: {type: box}\n  c: {type: sphere}\nroots: [a]\n"_s;
}

void TstSceneVersion2::mixedGenerations()
{
    QFETCH(const QString, text);
    const auto result = parse(text);
    QCOMPARE(result.warnings, QStringList());
    const LogicalScene &scene = *result.logicalScene;
    QCOMPARE(namesOf(scene, scene.nodesInOrder()), QStringList({u"a"_s, u"b"_s, u"c"_s}));
    QCOMPARE(namesOf(scene, scene.roots()), QStringList{u"a"_s});
    QCOMPARE(nodeOf(scene, u"a"_s).params, QVariantMap({{u"k"_s, 1}}));
    QCOMPARE(nodeOf(scene, u"a"_s).definitionId, u"union"_s);
}

void TstSceneVersion2::definitionsOfTheFileSayTheWrappers()
{
    const auto scene = parse(uR"(formatVersion: 2
definitions:
  - id: mine
    name: Mine
    convenience_wrappers: [scale, translate]
instances:
  a: {type: mine}
  b: {type: mine, wrappers: {translate: {}, onion: {}, scale: {}}}
)"_s)
                           .logicalScene;
    QCOMPARE(nodeOf(*scene, u"a"_s).wrappers,
             QList<WrapperValues>({{u"scale"_s, {}}, {u"translate"_s, {}}}));
    QCOMPARE(nodeOf(*scene, u"b"_s).wrappers,
             QList<WrapperValues>({{u"scale"_s, {}}, {u"translate"_s, {}}, {u"onion"_s, {}}}));
}

void TstSceneVersion2::hugeScenesLoad_data()
{
    QTest::addColumn<bool>("isChain");
    QTest::newRow("wide") << false;
    QTest::newRow("deep") << true;
}

void TstSceneVersion2::hugeScenesLoad()
{
    QFETCH(const bool, isChain);
    constexpr int count = 50000;
    QString text = u"formatVersion: 2\nroots: [n0]\ninstances:\n"_s;
    QString wide;
    for (int i = 0; i < count; ++i) {
        text += u"  n%1:\n    type: union\n"_s.arg(i);
        if (isChain && i + 1 < count)
            text += u"    children: [n%1]\n"_s.arg(i + 1);
        wide += u"      - n%1\n"_s.arg(i + 1);
    }
    if (!isChain)
        text += u"  n0:\n    children:\n"_s + wide; // the last one names nothing
    const auto result = parse(text);
    QCOMPARE(result.warnings.size(), isChain ? 0 : 1);
    LogicalScene &scene = *result.logicalScene;
    QCOMPARE(scene.subtree(scene.roots().first()).size(), count);
    QVERIFY(!CorvaneDSLSerializer::serializeLogical(scene).isEmpty());
    scene.removeInstance(scene.roots().first());
    QVERIFY(scene.instances().isEmpty());
}

void TstSceneVersion2::failedSaveLeavesTheOldFile()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a.corvane"_s);
    LogicalScene scene;
    scene.addInstance(u"box"_s);
    QVERIFY(CorvaneDSLSerializer::serializeLogicalToFile(scene, path, u"n"_s, u"cm"_s));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    QCOMPARE(text, CorvaneDSLSerializer::serializeLogical(scene, u"n"_s, u"cm"_s));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^CorvaneDSLSerializer: cannot write "_s));
    QVERIFY(!CorvaneDSLSerializer::serializeLogicalToFile(scene, folder.path() + u"/no/where"_s));
}

void TstSceneVersion2::samplesAreStable_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("hasNestedComponents");
    const QDir samples(QStringLiteral(CORVANE_SAMPLES "/v2"));
    const QStringList nested{u"bracket"_s, u"heat_sink"_s};
    const auto files = samples.entryInfoList({u"*.corvane"_s});
    for (const auto &file : files)
        QTest::newRow(qPrintable(file.baseName()))
            << file.filePath() << nested.contains(file.baseName());
}

void TstSceneVersion2::samplesAreStable()
{
    QFETCH(const QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString comment = QString::fromUtf8(file.readLine());
    QVERIFY(comment.startsWith(u'#'));
    const QString text = QString::fromUtf8(file.readAll());
    const auto result = parse(text);
    QCOMPARE(result.warnings, QStringList());
    const LogicalScene &scene = *result.logicalScene;
    const auto &nodes = scene.instances();
    QVERIFY(std::any_of(nodes.cbegin(), nodes.cend(),
                        [](const LogicalInstance &node) { return node.isContainer(); }));
    bool isNested = false;
    for (const auto &component : scene.componentRegistry()->definitions()) {
        QVERIFY(!component.promotions.isEmpty());
        isNested = isNested || !component.referencedComponentIds().isEmpty();
    }
    QTEST(isNested, "hasNestedComponents");
    Corvane document;
    DocumentBlock::apply(result.documentBlock, document);
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(scene, document), text);
}

QTEST_GUILESS_MAIN(TstSceneVersion2)
#include "tst_SceneVersion2.moc"
