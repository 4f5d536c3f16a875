#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/SceneKeys.h>
#include <corvane/model/SceneVersion1Reader.h>
#include <corvane/model/SceneVersion1Writer.h>

#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

ParseResult parse(const QString &text)
{
    return CorvaneDSLParser::parseText(text);
}

QVariantMap blockOf(const Corvane &scene)
{
    return scene.toVariantMap().value(u"corvane"_s).toMap();
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Documents with every kind of member, names and texts of every nasty sort, the same for the same
/// seed.
class DocumentMaker
{
public:
    explicit DocumentMaker(quint32 seed)
        : m_random(seed)
    {}

    void fill(Corvane &scene)
    {
        scene.setName(text());
        scene.setMetadata({{u"author"_s, text()}, {u"count"_s, number()}});
        scene.setSceneSetting(u"export.cellSize"_s, number());
        scene.setSceneSetting(u"export.outputPath"_s, text());
        for (int i = 0; i < 6; ++i)
            scene.setVariableEntry(u"v%1"_s.arg(i), variable());
        scene.setNamedVarset(u"more"_s, {{u"a"_s, variable()}, {u"b"_s, variable()}});
        addMaterials(scene);
        for (int i = 0; i < 12; ++i)
            addItem(scene);
        if (chance(2))
            scene.setRoots({pick(m_ids), pick(m_ids)});
    }

private:
    bool chance(quint32 n) { return m_random.bounded(n) == 0; }
    template<class T>
    T pick(const QList<T> &list)
    {
        return list.at(qsizetype(m_random.bounded(quint32(list.size()))));
    }
    QVariant number()
    {
        return pick(QList<QVariant>{0, 1, -5, 0.1, 1.0 / 3.0, 1e-9, 1e20, 123456789012345ll, 0.1f});
    }
    QString text()
    {
        return pick(QStringList{u"plain"_s, u"two words"_s, u"a: b"_s, u"it's"_s, u"say \"hi\""_s,
                                u"a # b"_s, u"back\\slash"_s, u"true"_s, u"1.5"_s, u"=x"_s,
                                u"[1, 2"_s, u"{a}"_s, u"- x"_s, u"one\ntwo"_s, u"\u00e4\u4e2d"_s,
                                u"'both' \"kinds\""_s, u"~"_s, u"a, b"_s,
                                u"\ttab\tin"_s.trimmed()});
    }
    QVariant value()
    {
        return pick(QList<QVariant>{number(), number(), text(), true, QVector3D(0.1f, 2, -3),
                                    QVariantList{1, 2.5}, QVariantList{text(), text()},
                                    QVariantMap{{u"k"_s, text()}, {u"l"_s, number()}},
                                    QVariantMap{{u"value"_s, 1}}});
    }
    VarsetEntry variable()
    {
        VarsetEntry entry{.value = value()};
        if (chance(2)) {
            entry.description = text();
            entry.unit = u"mm"_s;
            entry.constraints.max = number();
        }
        if (chance(3))
            entry.expression = u"v0 * 2 + \"v1\""_s;
        return entry;
    }
    void addMaterials(Corvane &scene)
    {
        for (int i = 0; i < 3; ++i) {
            CatalogMaterial material;
            material.id = id();
            material.name = text();
            material.setRoughness(0.1f);
            m_materials.append(scene.addMaterial(material));
        }
    }
    void addItem(Corvane &scene)
    {
        Instance item(u"box"_s);
        item.id = id();
        item.name = chance(4) ? QString() : text() + QString::number(m_random.bounded(8));
        if (m_allSdf || !chance(4)) {
            item.setParameter(u"width"_s, value());
            item.setLiteral(u"label"_s, text());
            item.setExpression(u"height"_s, u"v0 / \"v 1\""_s, value());
            if (!m_ids.isEmpty())
                item.setParameter(u"children"_s, QVariantList{reference(scene), reference(scene)});
        } else {
            item.itemType = pick(QStringList{ItemTypes::Mesh, ItemTypes::Group, ItemTypes::Camera});
            item.typeData = {{u"sourcePath"_s, text()}, {u"note"_s, value()}};
        }
        if (chance(2))
            item.materialId = pick(m_materials);
        if (!m_ids.isEmpty() && chance(2))
            item.parentId = pick(m_ids);
        item.translate = {0.1f, float(m_random.bounded(4)), 0};
        item.capabilities = chance(2) ? 0x80000001u : 0u;
        // The inline copy of a catalogue material is taken from the catalogue when a file is read.
        if (!item.materialId.isNull())
            item.material = scene.material(item.materialId)->material;
        m_ids.append(scene.addItem(item));
    }
    QString reference(const Corvane &scene)
    {
        const QUuid target = pick(m_ids);
        const QString name = scene.item(target).name;
        return u'@' + (name.isEmpty() || chance(2) ? target.toString(QUuid::WithoutBraces) : name);
    }
    QUuid id()
    {
        const uint a = m_random.generate();
        return QUuid(a, ushort(a), 7, 1, 2, 3, 4, 5, 6, 7, uchar(m_random.bounded(256)));
    }

    QRandomGenerator m_random;
    bool m_allSdf = m_random.bounded(2) == 0;
    QList<QUuid> m_ids;
    QList<QUuid> m_materials;
};

/// The resolved expression of the field, which names and ids may spell in several ways.
QMap<QUuid, QList<QUuid>> childrenOf(const Corvane &scene)
{
    QMap<QUuid, QList<QUuid>> children;
    const auto items = scene.items();
    for (auto it = items.cbegin(); it != items.cend(); ++it)
        children.insert(it.key(), scene.childInstanceIds(it.key()));
    return children;
}

} // namespace

class TstSceneVersion1 : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void readsTheCanonicalShape();
    void blockMayBeTheTopLevel();
    void itemsWithoutIdsAreTheSameEveryTime();
    void namesComeFromKeys_data();
    void namesComeFromKeys();
    void keyedNameWinsOverTheSameNameInside();
    void danglingReferencesAreDropped();
    void rootsSayWhatIsDrawn_data();
    void rootsSayWhatIsDrawn();
    void contradictionsAreResolved();
    void warningsAreBounded();
    void catalogueMaterialWinsOverInlineCopy();
    void formFollowsTheItems();
    void parametersAreWrittenAsTheyRead();
    void unsafeNamesAreKeyedById_data();
    void unsafeNamesAreKeyedById();
    void unknownKeysAreKept();
    void nothingIsLost_data();
    void nothingIsLost();
    void failedSaveLeavesTheOldFile_data();
    void failedSaveLeavesTheOldFile();
};

void TstSceneVersion1::readsTheCanonicalShape()
{
    const auto result = parse(uR"yaml(formatVersion: 1
corvane:
  version: 1
  name: "Small (preview)"
  units: cm
  varset:
    width: 40
    wall: {value: 2.5, unit: mm}
  varsetOrder: [width, wall]
  instances:
    ball:
      type: sphere
      params:
        radius: 0.85
        growth: "=width*2"
        other: {expr: "wall", fallback: 1}
      tags: [preview_material]
    moved:
      type: translate
      params:
        offset: [0.0, -0.9, 0.0]
        children: ["@ball"]
  roots:
    - moved
)yaml"_s);
    QVERIFY(result.ok());
    QVERIFY(result.warnings.isEmpty());
    const Corvane &scene = *result.scene;
    QCOMPARE(scene.name(), u"Small (preview)"_s);
    QCOMPARE(scene.units(), u"cm"_s);
    QCOMPARE(scene.variableNames(), QStringList({u"width"_s, u"wall"_s}));
    QCOMPARE(scene.variableEntry(u"wall"_s).unit, u"mm"_s);
    const QUuid ball = scene.instanceIdByName(u"ball"_s);
    const QUuid moved = scene.instanceIdByName(u"moved"_s);
    QCOMPARE(scene.roots(), QList<QUuid>{moved});
    QCOMPARE(scene.childInstanceIds(moved), QList<QUuid>{ball});
    const Instance instance = scene.instance(ball);
    QCOMPARE(instance.definitionId(), u"sphere"_s);
    QCOMPARE(instance.parameter(u"radius"_s), QVariant(0.85));
    QCOMPARE(instance.parameterValue(u"growth"_s).expression, u"width*2"_s);
    QCOMPARE(instance.parameterValue(u"other"_s), ParameterValue::fromExpression(u"wall"_s, 1ll));
    QVERIFY(instance.hasTag(u"preview_material"_s));
}

void TstSceneVersion1::blockMayBeTheTopLevel()
{
    for (const QString &text : {u"name: n\ninstances:\n  a:\n    type: sphere\n"_s,
                                u"corvane: {}\nname: n\ninstances:\n  a:\n    type: sphere\n"_s}) {
        const auto result = parse(text);
        QVERIFY(result.ok());
        QCOMPARE(result.scene->name(), u"n"_s);
        QCOMPARE(result.scene->instances().size(), 1);
        QCOMPARE(result.scene->instances().first().name, u"a"_s);
    }
}

void TstSceneVersion1::itemsWithoutIdsAreTheSameEveryTime()
{
    const QString text = u"instances:\n  a:\n    type: sphere\n  b:\n    type: box\n"_s;
    const auto first = parse(text).scene->items();
    QCOMPARE(first.size(), 2);
    QCOMPARE(parse(text).scene->items(), first);
}

void TstSceneVersion1::namesComeFromKeys_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("name");
    QTest::newRow("key") << u"ball: {type: sphere}"_s << u"ball"_s;
    QTest::newRow("own name") << u"ball: {type: sphere, name: other}"_s << u"other"_s;
    QTest::newRow("hyphen") << u"my-ball: {type: sphere}"_s << QString();
    QTest::newRow("uuid") << u"6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14: {type: sphere}"_s << QString();
}

void TstSceneVersion1::namesComeFromKeys()
{
    QFETCH(const QString, item);
    const auto result = parse(u"instances:\n  "_s + item + u'\n');
    QVERIFY(result.ok());
    QCOMPARE(result.scene->items().size(), 1);
    QTEST(result.scene->items().first().name, "name");
    QVERIFY(!result.scene->items().firstKey().isNull());
}

void TstSceneVersion1::keyedNameWinsOverTheSameNameInside()
{
    const auto result = parse(u"instances:\n  a: {type: box, name: z}\n  z: {type: sphere}\n"_s);
    const QUuid id = result.scene->instanceIdByName(u"z"_s);
    QCOMPARE(result.scene->instance(id).definitionId(), u"sphere"_s);
}

void TstSceneVersion1::danglingReferencesAreDropped()
{
    const auto result = parse(uR"(instances:
  a:
    type: union
    params:
      children: ["@gone", "@b"]
  b:
    type: sphere
    parentId: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14
roots: [a, nobody]
)"_s);
    QVERIFY(result.ok());
    QCOMPARE(result.warnings,
             QStringList({u"Item 'a': child '@gone' names no item and was dropped"_s,
                          u"Item 'b': its parent 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14 does not "
                          "exist and was dropped"_s,
                          u"Root 'nobody' names no item and was dropped"_s}));
    const Corvane &scene = *result.scene;
    const QUuid a = scene.instanceIdByName(u"a"_s);
    QCOMPARE(scene.instance(a).childReferences(), QStringList{u"@b"_s});
    QCOMPARE(scene.roots(), QList<QUuid>{a});
}

void TstSceneVersion1::rootsSayWhatIsDrawn_data()
{
    QTest::addColumn<QString>("roots");
    QTest::addColumn<bool>("all");
    QTest::addColumn<int>("count");
    QTest::newRow("no key") << QString() << true << 0;
    QTest::newRow("no value") << u"roots:\n"_s << true << 0;
    QTest::newRow("empty list") << u"roots: []\n"_s << false << 0;
    QTest::newRow("all dangling") << u"roots: [x, y]\n"_s << false << 0;
    QTest::newRow("by name") << u"roots:\n  - a\n"_s << false << 1;
    QTest::newRow("by both names") << u"roots: [a, \"@a\"]\n"_s << false << 1;
    QTest::newRow("by marked name") << u"roots: [\"@a\"]\n"_s << false << 1;
    QTest::newRow("by id") << u"roots: [\"6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14\"]\n"_s << false
                           << 1;
}

void TstSceneVersion1::rootsSayWhatIsDrawn()
{
    QFETCH(const QString, roots);
    QFETCH(const bool, all);
    const auto result = parse(
        u"instances:\n  a: {type: box, id: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14}\n"_s + roots);
    QVERIFY(result.ok());
    QCOMPARE(result.scene->drawsAllItems(), all);
    QTEST(int(result.scene->roots().size()), "count");
    const auto again = Corvane::fromVariantMap(result.scene->toVariantMap());
    QCOMPARE(again->drawsAllItems(), all);
    QCOMPARE(again->roots(), result.scene->roots());
}

void TstSceneVersion1::contradictionsAreResolved()
{
    const auto result = parse(uR"(instances:
  a: {type: box, id: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14}
  b: {type: box, id: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14}
  c: 5
  p: {type: box, id: 11111111-9a3e-4b0d-8f21-3c5e7790ab14, parentId: 22222222-9a3e-4b0d-8f21-3c5e7790ab14}
  q: {type: box, id: 22222222-9a3e-4b0d-8f21-3c5e7790ab14, parentId: 11111111-9a3e-4b0d-8f21-3c5e7790ab14}
  x:
    type: union
    params:
      children: ["@x"]
)"_s);
    QVERIFY(result.ok());
    QCOMPARE(result.warnings.size(), 3);
    QVERIFY(result.warnings.contains(u"Item 'b' has the id of another item and got a new one"_s));
    QVERIFY(result.warnings.contains(u"Item 'c' is no map and was dropped"_s));
    QCOMPARE(result.scene->items().size(), 5);
    // One of the two parents was cut; every walk towards the top ends.
    QCOMPARE(result.scene->hierarchyRootIds().size(), 4);
    const QUuid x = result.scene->instanceIdByName(u"x"_s);
    QCOMPARE(result.scene->childInstanceIds(x), QList<QUuid>{x});
}

void TstSceneVersion1::warningsAreBounded()
{
    QString text = u"roots:\n"_s;
    for (int i = 0; i < 1000; ++i)
        text += u"  - r%1\n"_s.arg(i);
    const auto result = parse(text);
    QCOMPARE(result.warnings.size(), 101);
    QCOMPARE(result.warnings.last(), u"and 900 more"_s);
}

void TstSceneVersion1::catalogueMaterialWinsOverInlineCopy()
{
    const auto result = parse(uR"(materials:
  Steel: {id: 6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14, metallic: 1.0, roughness: 7}
instances:
  a:
    type: box
    materialId: "{6d1f7c52-9a3e-4b0d-8f21-3c5e7790ab14}"
    material: {metallic: 0.25}
)"_s);
    const SceneItem item = result.scene->items().first();
    QCOMPARE(item.material.metallic, 1.0f);
    QCOMPARE(item.material.roughness, 1.0f);
    QCOMPARE(result.scene->materialIdByName(u"Steel"_s), item.materialId);
}

void TstSceneVersion1::formFollowsTheItems()
{
    Corvane scene;
    Instance box(u"box"_s);
    box.name = u"a box"_s;
    scene.addItem(box);
    QVariantMap block = blockOf(scene);
    QVERIFY(!block.contains(u"items"_s));
    QVERIFY(!block.value(u"instances"_s).toMap().value(u"a box"_s).toMap().contains(u"itemType"_s));
    QCOMPARE(block.value(u"version"_s).toInt(), 1);
    QVERIFY(!block.contains(u"roots"_s));

    Instance mesh(QString{});
    mesh.itemType = ItemTypes::Mesh;
    mesh.setParameter(u"level"_s, u"=a"_s);
    scene.addItem(mesh);
    block = blockOf(scene);
    QVERIFY(!block.contains(u"instances"_s));
    const QVariantMap items = block.value(u"items"_s).toMap();
    QCOMPARE(items.value(u"a box"_s).toMap().value(u"itemType"_s), QVariant(u"sdf"_s));
    const QVariantMap written = items.value(mesh.id.toString(QUuid::WithoutBraces)).toMap();
    QCOMPARE(written.value(u"itemType"_s), QVariant(u"mesh"_s));
    QCOMPARE(written.value(u"params"_s),
             QVariant(QVariantMap{{u"level"_s, QVariantMap{{u"expr"_s, u"a"_s}}}}));
}

void TstSceneVersion1::parametersAreWrittenAsTheyRead()
{
    Corvane scene;
    Instance box(u"box"_s);
    box.name = u"b"_s;
    box.setLiteral(u"size"_s, QVector3D(1, 2, 3));
    box.setLiteral(u"text"_s, u"=not an expression"_s);
    box.setExpression(u"width"_s, u"x*2"_s, 1);
    scene.addItem(box);
    const QVariantMap items = blockOf(scene).value(u"instances"_s).toMap();
    const QVariantMap params = items.value(u"b"_s).toMap().value(u"params"_s).toMap();
    QCOMPARE(params.value(u"size"_s), QVariant(QVariantList{1.0, 2.0, 3.0}));
    QCOMPARE(params.value(u"text"_s), QVariant(QVariantMap{{u"value"_s, u"=not an expression"_s}}));
    QCOMPARE(params.value(u"width"_s),
             QVariant(QVariantMap{{u"expr"_s, u"x*2"_s}, {u"fallback"_s, 1}}));
}

void TstSceneVersion1::unsafeNamesAreKeyedById_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isSafe");
    QTest::newRow("plain") << u"box 1.5"_s << true;
    QTest::newRow("other letters") << u"\u00e4\u4e2d"_s << true;
    QTest::newRow("empty") << QString() << false;
    for (const QChar unsafe : u":#\"'-"_s)
        QTest::addRow("a%cb", unsafe.toLatin1()) << u"a%1b"_s.arg(unsafe) << false;
    QTest::newRow("line end") << u"a\nb"_s << false;
    QTest::newRow("blank at the end") << u"a "_s << false;
}

void TstSceneVersion1::unsafeNamesAreKeyedById()
{
    QFETCH(const QString, name);
    QTEST(SceneKeys::isSafe(name), "isSafe");
}

void TstSceneVersion1::unknownKeysAreKept()
{
    const auto result = parse(u"formatVersion: 1\ncorvane:\n  name: n\n  future: {a: [1, 2]}\n"_s);
    const QVariantMap block = blockOf(*result.scene);
    QCOMPARE(block.value(u"future"_s).toMap().value(u"a"_s).toList().size(), 2);
    QVERIFY(!block.contains(u"formatVersion"_s));
}

void TstSceneVersion1::nothingIsLost_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 60; ++seed)
        QTest::addRow("document %u", seed) << seed;
}

void TstSceneVersion1::nothingIsLost()
{
    QFETCH(const quint32, seed);
    const QTemporaryDir folder;
    Corvane scene;
    DocumentMaker(seed).fill(scene);
    const QString first = folder.filePath(u"first.corvane"_s);
    const QString second = folder.filePath(u"second.corvane"_s);
    QVERIFY(scene.saveToFile(first));

    const auto loaded = Corvane::loadFromFile(first);
    QVERIFY(loaded);
    QCOMPARE(loaded->toVariantMap(), scene.toVariantMap());
    QCOMPARE(childrenOf(*loaded), childrenOf(scene));
    QCOMPARE(loaded->roots(), scene.roots());
    QCOMPARE(loaded->variableNames(), scene.variableNames());
    QVERIFY(loaded->saveToFile(second));
    QCOMPARE(contentOf(second), contentOf(first));
}

void TstSceneVersion1::failedSaveLeavesTheOldFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("settingsPath");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a folder that is absent") << u"absent/x.corvane"_s << u"a"_s << QString();
    QTest::newRow("deeper than the reader goes")
        << u"x.corvane"_s << QStringList(256, u"a"_s).join(u'.')
        << u"it is nested deeper than 256 levels"_s;
    QTest::newRow("a key that reads as a list")
        << u"x.corvane"_s << u"-a"_s << u"it has the key '-a'"_s;
}

void TstSceneVersion1::failedSaveLeavesTheOldFile()
{
    QFETCH(const QString, file);
    QFETCH(const QString, settingsPath);
    QFETCH(const QString, reason);
    const QTemporaryDir folder;
    const QString path = folder.filePath(file);
    Corvane scene;
    const bool wasSaved = scene.saveToFile(folder.filePath(u"x.corvane"_s));
    const QByteArray before = contentOf(path);
    scene.setSceneSetting(settingsPath, 1);
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(u"^Corvane::saveToFile: cannot write .+ - .*"_s + reason));
    QVERIFY(wasSaved && !scene.saveToFile(path));
    QCOMPARE(contentOf(path), before);
}

QTEST_GUILESS_MAIN(TstSceneVersion1)
#include "tst_SceneVersion1.moc"
