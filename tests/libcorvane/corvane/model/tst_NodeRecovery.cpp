// Trees that come back from what they were compiled into.
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneDSLParser.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/LogicalSceneCompiler.h>
#include <corvane/model/NodeRecovery.h>
#include <corvane/registry/Registry.h>

#include <support/LogicalSceneMaker.h>

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

using Spoil = void (*)(Pair &);

} // namespace
Q_DECLARE_METATYPE(Spoil)

class TstNodeRecovery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { corvane::registry::Registry::instance().loadBuiltinPrimitives(); }
    void nothingIsLost_data();
    void nothingIsLost();
    void treesComeBackWhole();
    void whatIsNoTreeStays_data();
    void whatIsNoTreeStays();
};

void TstNodeRecovery::nothingIsLost_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 20; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// Through a file, whatever comes back and whatever stays: compiling gives the same items.
void TstNodeRecovery::nothingIsLost()
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
    NodeRecovery::recover(*document, tree);
    QList<QUuid> roots = document->roots();
    compile(tree, *document);
    QSet<QUuid> drawn;
    for (const QUuid &id : roots + document->roots())
        drawn.insert(id);
    roots = CorvaneDSLParser::parseFile(path).scene->roots();
    QCOMPARE(drawn, QSet<QUuid>(roots.cbegin(), roots.cend()));
    document->setRoots(roots);
    QCOMPARE(document->toVariantMap(), before);
}

void TstNodeRecovery::treesComeBackWhole()
{
    Pair pair;
    LogicalScene tree;
    NodeRecovery::recover(*pair.document, tree);
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

void TstNodeRecovery::whatIsNoTreeStays_data()
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

void TstNodeRecovery::whatIsNoTreeStays()
{
    QFETCH(const Spoil, spoil);
    Pair pair;
    spoil(pair);
    const auto items = pair.document->items();
    const QList<QUuid> roots = pair.document->roots();
    LogicalScene tree;
    NodeRecovery::recover(*pair.document, tree);
    QVERIFY(tree.instances().isEmpty());
    QCOMPARE(pair.document->items(), items);
    QCOMPARE(pair.document->roots(), roots);
}

QTEST_GUILESS_MAIN(TstNodeRecovery)
#include "tst_NodeRecovery.moc"
