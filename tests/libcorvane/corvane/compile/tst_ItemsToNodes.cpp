// Documents that are opened for editing: the tree that they become compiles to what they were.
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/compile/ItemsToNodes.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/registry/Registry.h>

#include <support/LogicalSceneMaker.h>

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

void compile(LogicalScene &tree, Corvane &document)
{
    LogicalSceneCompiler compiler;
    compiler.setSource(&tree);
    compiler.setTarget(&document);
    compiler.fullCompile();
}

/// A union of two spheres, the first of them moved, compiled.
struct Pair
{
    LogicalScene tree;
    QUuid top = tree.addInstance(u"union"_s);
    QUuid left = tree.addInstance(u"sphere"_s, top);
    QUuid right = tree.addInstance(u"sphere"_s, top);
    QSharedPointer<Corvane> document = Corvane::create();

    Pair()
    {
        tree.setInstanceParameter(left, u"radius"_s, u"=size*2"_s);
        tree.setInstanceTransform(left, {1, 2, 3}, {0, 90, 0}, {2, 2, 2});
        compile(tree, *document);
    }
    QUuid core(const QUuid &node) const
    {
        const QString name = LogicalSceneCompiler::instanceName(node, u"core"_s);
        return document->instanceIdByName(name);
    }
};

/// The document after it became a tree and that was compiled.
QVariantMap reopened(Corvane &document, LogicalScene &tree)
{
    itemsToNodes(document, tree);
    compile(tree, document);
    return document.toVariantMap();
}

/// Operators over each other and over shapes, some of them in several places, in groups, with
/// words that no node knows.
class DocumentOfItems
{
public:
    DocumentOfItems(quint32 seed, Corvane &document)
        : m_random(seed)
        , m_document(document)
    {
        SceneItem group(QUuid::createUuid());
        group.itemType = chance(50) ? ItemTypes::Group : ItemTypes::SdfDomain;
        group.name = u"Group"_s;
        m_group = document.addItem(group);
        QList<QUuid> roots;
        for (int i = 0; i < 40; ++i) {
            m_items.append(document.addItem(item(i)));
            if (chance(20))
                roots.append(m_items.last());
        }
        document.setRoots(roots);
    }

private:
    bool chance(int percent) { return int(m_random.bounded(100)) < percent; }
    const QUuid &any() { return m_items.at(m_random.bounded(m_items.size())); }

    Instance item(int number)
    {
        Instance made(chance(40) ? u"union"_s : chance(50) ? u"translate"_s : u"sphere"_s);
        made.id = QUuid::createUuid();
        if (chance(90))
            made.name = u"item %1"_s.arg(number);
        QVariantList references;
        for (int i = int(m_random.bounded(4)); i > 0 && !m_items.isEmpty(); --i) {
            const SceneItem child = m_document.item(any());
            const bool byName = !child.name.isEmpty() && chance(80);
            references.append(u'@' + (byName ? child.name : child.id.toString()));
        }
        if (made.definitionId() != "sphere"_L1 && !references.isEmpty())
            made.setParameter(u"children"_s, references);
        else
            made.setParameter(u"radius"_s, chance(50) ? QVariant(u"=a*2"_s) : QVariant(2.5));
        spice(made);
        return made;
    }
    void spice(Instance &made)
    {
        if (chance(20))
            made.parentId = m_group;
        if (chance(20))
            made.typeData.insert(u"note"_s, u"mine"_s);
        if (chance(10))
            made.typeData.insert(u"materialMode"_s, 2);
        if (chance(10))
            made.typeData.insert(u"shellThickness"_s, 0.5f);
        if (chance(10))
            made.tags = {ItemTags::Hidden, ItemTags::Locked};
        if (chance(10))
            made.translate = {1, 2, 3};
        if (chance(10))
            made.material.roughness = 0.125f;
        made.capabilities = chance(50) ? ItemCapabilities::sdfItem : 0;
        made.sortOrder = qint32(m_random.bounded(3));
    }

    QRandomGenerator m_random;
    Corvane &m_document;
    QUuid m_group;
    QList<QUuid> m_items;
};

using Spoil = void (*)(Pair &);

} // namespace
Q_DECLARE_METATYPE(Spoil)

class TstItemsToNodes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { corvane::registry::Registry::instance().loadBuiltinPrimitives(); }
    void nothingIsLost_data();
    void nothingIsLost();
    void treesComeBackWhole();
    void itemsOfAllSortsAreNodes_data();
    void itemsOfAllSortsAreNodes();
    void partsThatAreSharedStandOnce();
    void whatNoCompileMakesIsANodeOfItsOwn_data();
    void whatNoCompileMakesIsANodeOfItsOwn();
    void whatIsNoTreeStays_data();
    void whatIsNoTreeStays();
};

void TstItemsToNodes::nothingIsLost_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 20; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// Through a file, whatever comes back and whatever stays: compiling gives the same items.
void TstItemsToNodes::nothingIsLost()
{
    QFETCH(const quint32, seed);
    LogicalScene made;
    support::LogicalSceneMaker(seed).fill(made, 60);
    Corvane compiled;
    compile(made, compiled);
    QTemporaryDir folder;
    const QString path = folder.filePath(u"scene.corvane"_s);
    QVERIFY(compiled.saveToFile(path));
    const auto document = CorvaneDSLParser::parseFile(path).scene;
    QVERIFY(document);
    const QVariantMap before = document->toVariantMap();

    LogicalScene tree;
    QCOMPARE(reopened(*document, tree), before);
    QVERIFY(!tree.instances().isEmpty());
}

void TstItemsToNodes::treesComeBackWhole()
{
    Pair pair;
    LogicalScene tree;
    QVERIFY(itemsToNodes(*pair.document, tree).isEmpty());
    QVERIFY(pair.document->items().isEmpty());
    QCOMPARE(tree.roots(), QList<QUuid>{pair.top});
    QCOMPARE(tree.children(pair.top), (QList<QUuid>{pair.left, pair.right}));
    const LogicalInstance &left = *tree.instance(pair.left);
    QCOMPARE(left.translate, QVector3D(1, 2, 3));
    QCOMPARE(left.rotate, QVector3D(0, 90, 0));
    QCOMPARE(left.scale, QVector3D(2, 2, 2));
    QCOMPARE(ParameterValue::fromVariant(left.params.value(u"radius"_s)).expression, u"size*2"_s);
    QCOMPARE(left.wrappers, pair.tree.instance(pair.left)->wrappers);
}

void TstItemsToNodes::itemsOfAllSortsAreNodes_data()
{
    nothingIsLost_data();
}

void TstItemsToNodes::itemsOfAllSortsAreNodes()
{
    QFETCH(const quint32, seed);
    Corvane document;
    const DocumentOfItems maker(seed, document);
    const QVariantMap before = document.toVariantMap();
    LogicalScene tree;
    QCOMPARE(reopened(document, tree), before);
    const QList<SceneItem> items = document.itemsOfType(ItemTypes::Sdf);
    for (const SceneItem &item : items)
        QVERIFY(tree.contains(item.id));
    // Undo keeps nodes as maps.
    LogicalScene again;
    again.fromVariantMap(tree.toVariantMap());
    Corvane other;
    other.addItem(document.itemsOfType(ItemTypes::Group)
                      .value(0, document.itemsOfType(ItemTypes::SdfDomain).value(0)));
    compile(again, other);
    QCOMPARE(other.toVariantMap(), before);
}

void TstItemsToNodes::partsThatAreSharedStandOnce()
{
    Corvane document;
    const auto add = [&document](const QString &type, const QString &name,
                                 const QVariantList &children) {
        Instance item(type);
        item.name = name;
        item.setParameter(u"children"_s, children);
        return document.addItem(item);
    };
    const QUuid ball = add(u"sphere"_s, u"ball"_s, {});
    const QUuid pair = add(u"union"_s, u"pair"_s, {u"@ball"_s, u"@ball"_s});
    document.setRoots({pair, ball});
    LogicalScene tree;
    QVERIFY(itemsToNodes(document, tree).isEmpty());
    QCOMPARE(tree.parentOf(ball), pair);
    QCOMPARE(tree.references().size(), 2);
    QCOMPARE(tree.children(pair).value(0), ball);
    // Files of version 2 hold references, too.
    const auto again = CorvaneDSLParser::parseLogical(CorvaneDSLSerializer::serializeLogical(tree));
    QCOMPARE(again.warnings, QStringList());
    Corvane compiled;
    compile(*again.logicalScene, compiled);
    const QUuid core = compiled.childInstanceIds(compiled.roots().first()).value(0);
    QCOMPARE(compiled.roots().last(), core);
    QCOMPARE(compiled.childInstanceIds(compiled.roots().first()), (QList<QUuid>{core, core}));
    // What is around the part is around it in all places.
    tree.setWrappers(ball, {{u"translate"_s, {}}});
    compile(tree, document);
    const QUuid moved =
        document.instanceIdByName(LogicalSceneCompiler::instanceName(ball, u"translate"_s));
    QCOMPARE(document.childInstanceIds(moved), QList<QUuid>{ball});
    QCOMPARE(document.childInstanceIds(pair), (QList<QUuid>{moved, moved}));
    QCOMPARE(document.roots(), (QList<QUuid>{pair, moved}));
}

void TstItemsToNodes::whatNoCompileMakesIsANodeOfItsOwn_data()
{
    QTest::addColumn<Spoil>("spoil");
    QTest::newRow("used twice") << Spoil([](Pair &pair) {
        const QUuid id = pair.document->childInstanceIds(pair.core(pair.top)).first();
        pair.document->addRoot(id);
    });
    QTest::newRow("listed by a foreign item") << Spoil([](Pair &pair) {
        Instance foreign(u"union"_s);
        foreign.setParameter(u"children"_s,
                             QStringList{u'@' + pair.document->roots().first().toString()});
        pair.document->addItem(foreign);
    });
    QTest::newRow("a field of its own") << Spoil([](Pair &pair) {
        SceneItem item = pair.document->item(pair.core(pair.right));
        item.typeData.insert(u"note"_s, u"mine"_s);
        pair.document->updateItem(item);
    });
    QTest::newRow("read by its name") << Spoil([](Pair &pair) {
        pair.document->setVariableEntry(
            u"wide"_s,
            {.value = 1,
             .expression = pair.document->item(pair.core(pair.left)).name + u".radius"_s});
    });
    QTest::newRow("a wrapper is gone") << Spoil([](Pair &pair) {
        pair.document->removeItem(pair.document->roots().first());
        pair.document->setRoots({pair.core(pair.top)});
    });
}

void TstItemsToNodes::whatNoCompileMakesIsANodeOfItsOwn()
{
    QFETCH(const Spoil, spoil);
    Pair pair;
    spoil(pair);
    const QVariantMap before = pair.document->toVariantMap();
    LogicalScene tree;
    QCOMPARE(reopened(*pair.document, tree), before);
    QCOMPARE(pair.document->itemsOfType(ItemTypes::Sdf).size(), pair.document->items().size());
}

void TstItemsToNodes::whatIsNoTreeStays_data()
{
    QTest::addColumn<Spoil>("spoil");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a part of itself") << Spoil([](Pair &pair) {
        Instance left = pair.document->instance(pair.core(pair.left));
        left.setParameter(u"children"_s,
                          QStringList{u'@' + pair.document->roots().first().toString()});
        pair.document->updateItem(left);
    }) << u"it is part of itself, so that plans can't place it"_s;
    QTest::newRow("computed children") << Spoil([](Pair &pair) {
        Instance top = pair.document->instance(pair.core(pair.top));
        top.setParameter(u"children"_s, u"=parts"_s);
        pair.document->updateItem(top);
    }) << u"its children are an expression, so that plans can't place it"_s;
}

void TstItemsToNodes::whatIsNoTreeStays()
{
    QFETCH(const Spoil, spoil);
    QFETCH(const QString, reason);
    Pair pair;
    spoil(pair);
    const auto items = pair.document->items();
    const QList<QUuid> roots = pair.document->roots();
    LogicalScene tree;
    const QList<SceneWarning> reasons = itemsToNodes(*pair.document, tree);
    QVERIFY(!reasons.isEmpty());
    QCOMPARE(reasons.first().what, reason);
    for (const QUuid &id : {pair.core(pair.top), pair.document->roots().first()})
        QCOMPARE(pair.document->item(id), items.value(id));
    QVERIFY(!tree.contains(pair.top));
    QCOMPARE(pair.document->roots(), roots);
}

QTEST_GUILESS_MAIN(TstItemsToNodes)
#include "tst_ItemsToNodes.moc"
