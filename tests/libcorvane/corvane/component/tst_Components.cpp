#include <corvane/component/ComponentLibrary.h>
#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/LogicalScene.h>

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace corvane::component;
using corvane::model::LogicalInstance;

namespace {

/// A component whose nodes place the given ones.
ComponentDefinition placing(const QString &id, const QStringList &placed = {})
{
    LogicalInstance root;
    root.definitionId = u"union"_s;
    root.params = {{u"k"_s, 0.5}};
    QVariantList nodes;
    for (const QString &componentId : placed) {
        LogicalInstance node;
        node.componentDefId = componentId;
        root.children.append(node.id);
        nodes.append(node.toVariantMap());
    }
    nodes.prepend(root.toVariantMap());
    return {.id = id,
            .name = u"Name of "_s + id,
            .structure = {{u"instances"_s, nodes},
                          {u"root"_s, root.id.toString(QUuid::WithoutBraces)}}};
}

const QString incomplete = u"Component definition is incomplete (missing id, root or structure)."_s;
const QString taken = u"A component with this id is already registered."_s;
const QString cycle =
    u"A component cannot contain itself (directly or through another component)."_s;

} // namespace

class TstComponents : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void incompleteDefinitionsAreInvalid_data();
    void incompleteDefinitionsAreInvalid();
    void mapRoundTrip();
    void flatMapIsRead();
    void promotionDefaults_data();
    void promotionDefaults();
    void cyclesAreRefused_data();
    void cyclesAreRefused();
    void registryTellsWhatHappens();
    void longChainsRegisterInAnyOrder_data();
    void longChainsRegisterInAnyOrder();
    void libraryKeepsComponents();
    void libraryFilesHaveTheirOwnNames();
    void libraryRefuses();
};

void TstComponents::incompleteDefinitionsAreInvalid_data()
{
    QTest::addColumn<ComponentDefinition>("definition");
    ComponentDefinition noId = placing({});
    ComponentDefinition noNodes = placing(u"a"_s);
    noNodes.structure.insert(u"instances"_s, QVariantList());
    ComponentDefinition noRoot = placing(u"a"_s);
    noRoot.structure.insert(u"root"_s, u"top"_s);
    QTest::newRow("no id") << noId;
    QTest::newRow("no nodes") << noNodes;
    QTest::newRow("no root") << noRoot;
    QTest::newRow("nothing") << ComponentDefinition();
}

void TstComponents::incompleteDefinitionsAreInvalid()
{
    QFETCH(const ComponentDefinition, definition);
    QVERIFY(!definition.isValid());
    ComponentRegistry registry;
    QString error;
    QVERIFY(!registry.registerDefinition(definition, &error));
    QCOMPARE(error, incomplete);
    QVERIFY(!registry.restoreDefinition(definition));
    QVERIFY(registry.definitions().isEmpty());
}

void TstComponents::mapRoundTrip()
{
    ComponentDefinition made = placing(u"a"_s, {u"b"_s, u"c"_s, u"b"_s});
    made.category = u"Things"_s;
    made.description = u"What it is"_s;
    made.promotions = {{.alias = u"k"_s,
                        .displayName = u"Softness"_s,
                        .targetNode = made.structureRootId(),
                        .targetParam = u"k"_s},
                       {.alias = u"l"_s,
                        .targetNode = made.structureRootId(),
                        .targetParam = u"l"_s,
                        .binding = ComponentPromotion::Expression,
                        .expression = u"k*2"_s}};
    QVERIFY(made.isValid());
    QCOMPARE(ComponentDefinition::fromVariantMap(made.toVariantMap()), made);
    QCOMPARE(made.referencedComponentIds(), QStringList({u"b"_s, u"c"_s}));
    QCOMPARE(made.structureNodes().size(), 4);
    QCOMPARE(made.structureNode(made.structureRootId()).value(u"type"_s), QVariant(u"union"_s));
    QVERIFY(made.structureNode(QUuid::createUuid()).isEmpty());
    const QVariantMap promotion = made.promotions.first().toVariantMap();
    QCOMPARE(promotion.value(u"binding"_s), QVariant(u"passthrough"_s));
    QVERIFY(!promotion.contains(u"expression"_s));
    QCOMPARE(ComponentPromotion::fromVariantMap({{u"binding"_s, 1}}).binding,
             ComponentPromotion::Expression);
}

void TstComponents::flatMapIsRead()
{
    const ComponentDefinition made = placing(u"a"_s, {u"b"_s});
    QVariantMap flat = made.structure;
    flat.insert(u"id"_s, made.id);
    flat.insert(u"name"_s, made.name);
    QCOMPARE(ComponentDefinition::fromVariantMap(flat), made);
    QVariantMap byId;
    for (const QVariant &node : made.structure.value(u"instances"_s).toList()) {
        QVariantMap map = node.toMap();
        byId.insert(map.take(u"id"_s).toString(), map);
    }
    flat.insert(u"instances"_s, byId);
    const auto read = ComponentDefinition::fromVariantMap(flat);
    QVERIFY(read.isValid());
    QCOMPARE(read.structureNodes(), made.structureNodes());
}

void TstComponents::promotionDefaults_data()
{
    QTest::addColumn<QString>("param");
    QTest::addColumn<int>("binding");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("own value") << u"width"_s << 0 << QVariant(3);
    QTest::newRow("value of the definition") << u"height"_s << 0 << QVariant(10.0);
    QTest::newRow("no such parameter") << u"mass"_s << 0 << QVariant();
    QTest::newRow("computed") << u"width"_s << 1 << QVariant();
}

void TstComponents::promotionDefaults()
{
    QFETCH(const QString, param);
    QFETCH(const int, binding);
    LogicalInstance box;
    box.definitionId = u"box"_s;
    box.params = {{u"width"_s, 3}};
    const ComponentDefinition definition{
        .id = u"a"_s,
        .structure = {{u"instances"_s, QVariantList{box.toVariantMap()}},
                      {u"root"_s, box.id.toString()}}};
    ComponentPromotion promotion{.alias = u"x"_s,
                                 .targetNode = box.id,
                                 .targetParam = param,
                                 .binding = ComponentPromotion::Binding(binding)};
    QTEST(definition.promotionDefault(promotion), "value");
    promotion.targetNode = QUuid::createUuid();
    QVERIFY(!definition.promotionDefault(promotion).isValid());
}

void TstComponents::cyclesAreRefused_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QStringList>("placed");
    QTest::addColumn<bool>("isAccepted");
    // There are "a" placing "b", and "b" placing "c".
    QTest::newRow("itself") << u"x"_s << QStringList{u"x"_s} << false;
    QTest::newRow("back to the first") << u"c"_s << QStringList{u"box"_s, u"a"_s} << false;
    QTest::newRow("back to the second") << u"c"_s << QStringList{u"b"_s} << false;
    QTest::newRow("end of the chain") << u"c"_s << QStringList{u"x"_s} << true;
    QTest::newRow("above") << u"x"_s << QStringList{u"a"_s, u"b"_s} << true;
}

void TstComponents::cyclesAreRefused()
{
    QFETCH(const QString, id);
    QFETCH(const QStringList, placed);
    QFETCH(const bool, isAccepted);
    ComponentRegistry registry;
    QVERIFY(registry.registerDefinition(placing(u"a"_s, {u"b"_s})));
    QVERIFY(registry.registerDefinition(placing(u"b"_s, {u"c"_s})));
    QString error;
    QCOMPARE(registry.registerDefinition(placing(id, placed), &error), isAccepted);
    QCOMPARE(error, isAccepted ? QString() : cycle);
    QCOMPARE(registry.contains(id), isAccepted);
    // The same road for a change of one that is there.
    ComponentRegistry other;
    QVERIFY(other.registerDefinition(placing(u"a"_s, {u"b"_s})));
    QVERIFY(other.registerDefinition(placing(u"b"_s, {u"c"_s})));
    QVERIFY(other.registerDefinition(placing(id)));
    QCOMPARE(other.applyDefinition(placing(id, placed)), isAccepted);
}

void TstComponents::registryTellsWhatHappens()
{
    ComponentRegistry registry;
    QStringList told;
    connect(&registry, &ComponentRegistry::definitionRegistered, this,
            [&](const QString &id) { told += u"+"_s + id; });
    connect(&registry, &ComponentRegistry::definitionChanged, this,
            [&](const QString &id) { told += u"~"_s + id; });
    connect(&registry, &ComponentRegistry::definitionRemoved, this,
            [&](const QString &id) { told += u"-"_s + id; });
    QVERIFY(registry.registerDefinition(placing(u"a"_s)));
    QString error;
    QVERIFY(!registry.registerDefinition(placing(u"a"_s), &error));
    QCOMPARE(error, taken);
    QVERIFY(registry.applyDefinition(placing(u"a"_s, {u"b"_s})));
    QVERIFY(!registry.applyDefinition(placing(u"b"_s)));
    QVERIFY(registry.restoreDefinition(placing(u"b"_s, {u"a"_s}))); // a cycle, as it was saved
    QVERIFY(registry.removeDefinition(u"a"_s));
    QVERIFY(!registry.removeDefinition(u"a"_s));
    registry.clear();
    QCOMPARE(told, QStringList({u"+a"_s, u"~a"_s, u"+b"_s, u"-a"_s, u"-b"_s}));
    QVERIFY(!registry.definition(u"a"_s).isValid());
    QVERIFY(!registry.find(u"a"_s));
}

void TstComponents::longChainsRegisterInAnyOrder_data()
{
    QTest::addColumn<bool>("isReversed");
    QTest::newRow("from the top") << false;
    QTest::newRow("from the end") << true;
}

void TstComponents::longChainsRegisterInAnyOrder()
{
    QFETCH(const bool, isReversed);
    constexpr int count = 5000;
    ComponentRegistry registry;
    for (int i = 0; i < count; ++i) {
        const int number = isReversed ? count - 1 - i : i;
        QVERIFY(registry.registerDefinition(
            placing(QString::number(number), {QString::number(number + 1)})));
    }
    QVERIFY(!registry.registerDefinition(placing(QString::number(count), {u"0"_s})));
}

void TstComponents::libraryKeepsComponents()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"deep/components"_s);
    const ComponentDefinition made = placing(u"a"_s, {u"b"_s});
    ComponentLibrary library(path);
    QSignalSpy saved(&library, &ComponentLibrary::definitionSaved);
    QVERIFY(library.definitions().isEmpty());
    QVERIFY(library.saveDefinition(made));
    QCOMPARE(saved.size(), 1);
    QCOMPARE(library.definition(u"a"_s), made);

    ComponentLibrary next(path);
    QCOMPARE(next.definitions().keys(), QStringList{u"a"_s});
    QCOMPARE(next.definition(u"a"_s).toVariantMap(), made.toVariantMap());
    QVERIFY(QFile::rename(next.filePathFor(u"a"_s), path + u"/renamed.json"_s));
    QFile broken(path + u"/broken.json"_s);
    QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("{") == 1);
    broken.close();

    ComponentLibrary last(path);
    QTest::ignoreMessage(QtWarningMsg,
                         qPrintable(u"ComponentLibrary: No component in "_s + broken.fileName()));
    QVERIFY(last.contains(u"a"_s));
    QVERIFY(last.saveDefinition(made));
    QVERIFY(!QFile::exists(path + u"/renamed.json"_s));
    QVERIFY(QFile::rename(last.filePathFor(u"a"_s), path + u"/renamed.json"_s));
    ComponentLibrary once(path);
    QTest::ignoreMessage(QtWarningMsg,
                         qPrintable(u"ComponentLibrary: No component in "_s + broken.fileName()));
    QVERIFY(once.removeDefinition(u"a"_s));
    QVERIFY(!once.removeDefinition(u"a"_s));
    QVERIFY(!QFile::exists(path + u"/renamed.json"_s));
}

void TstComponents::libraryFilesHaveTheirOwnNames()
{
    const ComponentLibrary library(u"/folder"_s);
    QCOMPARE(library.filePathFor(u"6d1f7c52-9a3e"_s), u"/folder/6d1f7c52-9a3e.json"_s);
    QSet<QString> paths;
    const QStringList ids{u"a"_s,
                          u"A"_s,
                          u"a/b"_s,
                          u"../a"_s,
                          u"a%2Fb"_s,
                          u".."_s,
                          u"\u00e4"_s,
                          QString(1000, u'x'),
                          QString(1001, u'x')};
    for (const QString &id : ids) {
        const QString path = library.filePathFor(id);
        QVERIFY2(path.startsWith(u"/folder/"_s) && path.count(u'/') == 2, qPrintable(path));
        QVERIFY(path.size() < 200);
        paths.insert(path.toLower());
    }
    QCOMPARE(paths.size(), ids.size());
}

void TstComponents::libraryRefuses()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(u"file"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    ComponentLibrary library(file.fileName());
    QString error;
    QVERIFY(!library.saveDefinition({}, &error));
    QCOMPARE(error, u"Definition is incomplete."_s);
    QVERIFY(!library.saveDefinition(placing(u"a"_s), &error));
    QCOMPARE(error, u"Cannot create library directory %1."_s.arg(file.fileName()));
    ComponentLibrary other(folder.path());
    QVERIFY(QDir().mkdir(other.filePathFor(u"a"_s)));
    QVERIFY(!other.saveDefinition(placing(u"a"_s), &error));
    QVERIFY2(error.startsWith(u"Cannot write %1: "_s.arg(other.filePathFor(u"a"_s))),
             qPrintable(error));
    QVERIFY(!other.contains(u"a"_s));
    const QString pipe = other.filePathFor(u"b"_s);
    QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    QVERIFY(!other.saveDefinition(placing(u"b"_s), &error));
    QCOMPARE(error, u"Cannot write %1: it is a FIFO, not a regular file"_s.arg(pipe));
}

QTEST_GUILESS_MAIN(TstComponents)
#include "tst_Components.moc"
