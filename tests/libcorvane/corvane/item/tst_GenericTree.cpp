#include "DocumentMaker.h"

#include <corvane/item/GenericTree.h>
#include <corvane/item/SceneTreeEntries.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <support/KeptRows.h>

#include <QAbstractItemModelTester>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::item;
using namespace corvane::model;

namespace {

/// Something of the program's own that is no item of a document.
struct Pass
{
    QUuid id = QUuid::createUuid();
    QString name{};
};

} // namespace

template<>
struct corvane::item::EntryAccess<Pass>
{
    static QUuid uuid(const Pass &pass) { return pass.id; }
    static QString name(const Pass &pass) { return pass.name; }
    static void setName(Pass &pass, const QString &name) { pass.name = name; }
    static QString typeName(const Pass &) { return u"layer"_s; }
    static bool isBuiltIn(const Pass &pass) { return pass.name == u"fixed"_s; }
};

namespace {

/// Takes cameras and its own kind.
class PassEntry : public BaseSceneTreeEntry<Pass>
{
public:
    using BaseSceneTreeEntry::BaseSceneTreeEntry;
    QStringList acceptedChildTypes() const override { return {u"layer"_s, ItemTypes::Camera}; }
};

EntryPtr pass(const QString &name)
{
    return QSharedPointer<PassEntry>::create(QSharedPointer<Pass>::create(Pass{.name = name}));
}

SceneItem itemOf(const QString &type, const QString &name, const QUuid &parent = {})
{
    SceneItem item = ItemRegistry::instance().createItem(type);
    item.name = name;
    item.parentId = parent;
    return item;
}

/// "a(b c) d"
QString outline(const GenericTree &tree, const QModelIndex &parent = {})
{
    QStringList texts;
    for (int i = 0; i < tree.rowCount(parent); ++i) {
        const QModelIndex index = tree.index(i, 0, parent);
        const QString below = outline(tree, index);
        texts.append(index.data().toString() + (below.isEmpty() ? below : u'(' + below + u')'));
    }
    return texts.join(u' ');
}

} // namespace

class TstGenericTree : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void entriesOfItems_data();
    void entriesOfItems();
    void unknownTypesHaveAPlainEntry();
    void programsEntriesComeFirst();
    void entriesMove();
    void refusedEntriesChangeNothing();
    void itemsFollowTheDocument();
    void renamingGoesWhereTheObjectIs();
};

void TstGenericTree::entriesOfItems_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("accepted");

    const QStringList all{ItemTypes::Camera, ItemTypes::Group,     ItemTypes::Mesh,
                          ItemTypes::Sdf,    ItemTypes::SdfDomain, ItemTypes::TetVolume};
    QTest::newRow("sdf_domain") << ItemTypes::SdfDomain << QStringList{ItemTypes::Sdf};
    QTest::newRow("group") << ItemTypes::Group << all;
    QTest::newRow("mesh") << ItemTypes::Mesh << QStringList{ItemTypes::Mesh};
    QTest::newRow("tet_volume") << ItemTypes::TetVolume << QStringList();
    QTest::newRow("camera") << ItemTypes::Camera << QStringList();
    QTest::newRow("sdf") << ItemTypes::Sdf << QStringList();
}

void TstGenericTree::entriesOfItems()
{
    QFETCH(QString, type);
    QFETCH(QStringList, accepted);
    const SceneItem item = itemOf(type, u"thing"_s);
    const EntryPtr entry = ItemRegistry::instance().createEntry(item);
    QCOMPARE(entry->uuid(), item.id);
    QCOMPARE(entry->typeName(), type);
    QCOMPARE(entry->acceptedChildTypes(), accepted);
    QCOMPARE(entry->canHaveChildren(), !accepted.isEmpty());
    QCOMPARE(entry->hasCustomIcon(), type != ItemTypes::Sdf); // that is its definition's
    QVERIFY(!entry->getIcon().isNull());
    QCOMPARE(entry->generatePreview({40, 20}).size(), QSize(20, 20));
    QCOMPARE(entry->getPreview().size(), QSize(64, 64));
    entry->setName(u"other"_s);
    QCOMPARE(entry->name(), u"other"_s);

    Instance operation(u"union"_s);
    QVERIFY(ItemRegistry::instance().createEntry(operation)->canHaveChildren());
    QVERIFY(ItemRegistry::instance().createEntry(operation)->hasCustomIcon());
}

void TstGenericTree::unknownTypesHaveAPlainEntry()
{
    SceneItem odd;
    odd.itemType = u"odd"_s;
    const EntryPtr entry = ItemRegistry::instance().createEntry(odd);
    QCOMPARE(entry->typeName(), u"odd"_s);
    QVERIFY(!entry->canHaveChildren());
    QVERIFY(!entry->hasCustomIcon());
    QVERIFY(ItemRegistry::instance().createItem(u"odd"_s).id.isNull());

    ItemRegistry registry;
    registry.registerItemType(u"note"_s, [] {
        SceneItem item;
        item.itemType = u"note"_s;
        return item;
    });
    registry.registerItemType(u"nothing"_s, {});
    QVERIFY(registry.contains(u"note"_s) && !registry.contains(u"nothing"_s));
    QCOMPARE(registry.createEntry(registry.createItem(u"note"_s))->typeName(), u"note"_s);
}

void TstGenericTree::programsEntriesComeFirst()
{
    Corvane scene;
    const QUuid group = scene.addItem(itemOf(ItemTypes::Group, u"g"_s));
    scene.addItem(itemOf(ItemTypes::Camera, u"c"_s, group));
    GenericTree tree;
    const QAbstractItemModelTester tester(&tree);
    tree.setScene(&scene);
    QCOMPARE(outline(tree), u"g(c)"_s);
    const EntryPtr grid = pass(u"grid"_s);
    QVERIFY(tree.addEntry(grid));
    QVERIFY(tree.addEntry(pass(u"sky"_s), {}, 0));
    QVERIFY(tree.addEntry(pass(u"lines"_s), grid->uuid()));
    QCOMPARE(outline(tree), u"sky grid(lines) g(c)"_s);
    scene.addItem(itemOf(ItemTypes::Mesh, u"m"_s, group));
    QVERIFY(outline(tree).startsWith(u"sky grid(lines) g("_s));
    QVERIFY(tree.removeEntry(grid->uuid()));
    QVERIFY(!tree.removeEntry(group));
    QVERIFY(outline(tree).startsWith(u"sky g("_s));
    tree.clear();
    tree.setScene(nullptr);
    QCOMPARE(outline(tree), QString());
}

void TstGenericTree::entriesMove()
{
    GenericTree tree;
    const QAbstractItemModelTester tester(&tree);
    QList<QUuid> ids;
    for (const auto &name : {u"a"_s, u"b"_s, u"c"_s}) {
        const EntryPtr entry = pass(name);
        ids.append(entry->uuid());
        QVERIFY(tree.addEntry(entry));
    }
    QVERIFY(tree.moveEntry(ids.at(0), {}, 2));
    QCOMPARE(outline(tree), u"b a c"_s);
    QVERIFY(tree.moveEntry(ids.at(2), {}, 0));
    QCOMPARE(outline(tree), u"c b a"_s);
    QVERIFY(tree.moveEntry(ids.at(0), ids.at(1), -1));
    QCOMPARE(outline(tree), u"c b(a)"_s);
    QVERIFY(!tree.moveEntry(ids.at(1), ids.at(0), 0));
    QVERIFY(tree.moveEntry(ids.at(0), {}, -1));
    QCOMPARE(outline(tree), u"c b a"_s);
}

void TstGenericTree::refusedEntriesChangeNothing()
{
    GenericTree tree;
    const EntryPtr layer = pass(u"layer"_s);
    QVERIFY(tree.addEntry(layer));
    QVERIFY(!tree.addEntry(layer));
    QVERIFY(!tree.addEntry({}));
    QVERIFY(!tree.addEntry(pass(u"x"_s), QUuid::createUuid()));
    const auto entryOf = [](const SceneItem &item) {
        return ItemRegistry::instance().createEntry(item);
    };
    QVERIFY(!tree.addEntry(entryOf(itemOf(ItemTypes::Mesh, u"m"_s)), layer->uuid()));
    QVERIFY(tree.addEntry(entryOf(itemOf(ItemTypes::Camera, u"c"_s)), layer->uuid()));
    QCOMPARE(outline(tree), u"layer(c)"_s);
}

void TstGenericTree::itemsFollowTheDocument()
{
    Corvane scene;
    GenericTree tree;
    const QAbstractItemModelTester tester(&tree);
    tree.setScene(&scene);
    SceneItem mesh = itemOf(ItemTypes::Mesh, u"m"_s);
    mesh.sortOrder = 1;
    scene.addItem(mesh);
    SceneItem compiled = itemOf(ItemTypes::Sdf, u"hidden"_s);
    compiled.tags.insert(ItemTags::Compiled);
    scene.addItem(compiled);
    const QUuid group = scene.addItem(itemOf(ItemTypes::Group, u"g"_s));
    QCOMPARE(outline(tree), u"g m"_s);

    QSignalSpy changed(&tree, &GenericTree::dataChanged);
    QSignalSpy resets(&tree, &GenericTree::modelReset);
    mesh.name = u"mesh"_s;
    scene.updateItem(mesh);
    QCOMPARE(changed.size(), 1);
    QCOMPARE(resets.size(), 0);
    const support::KeptRows rows(tree, GenericTree::UuidRole);
    mesh.parentId = group;
    scene.updateItem(mesh);
    QCOMPARE(outline(tree), u"g(mesh)"_s);
    QCOMPARE(rows.lost(), QStringList());
    scene.exchangeItems({group}, {itemOf(ItemTypes::Camera, u"c"_s, mesh.id)});
    QCOMPARE(outline(tree), u"mesh(c)"_s);
    scene.removeItem(mesh.id);
    QCOMPARE(outline(tree), u"c"_s);
}

void TstGenericTree::renamingGoesWhereTheObjectIs()
{
    const auto scene = Corvane::create();
    corvane::ops::CorvaneOpExecutor executor(scene);
    const QUuid camera = scene->addItem(itemOf(ItemTypes::Camera, u"c"_s));
    GenericTree tree;
    tree.setScene(scene.data());
    const EntryPtr layer = pass(u"layer"_s);
    const EntryPtr fixed = pass(u"fixed"_s);
    QVERIFY(tree.addEntry(layer) && tree.addEntry(fixed));
    QVERIFY(tree.setData(tree.indexOf(layer->uuid()), u"sky"_s, Qt::EditRole));
    QCOMPARE(layer->name(), u"sky"_s);
    QVERIFY(!tree.setData(tree.indexOf(fixed->uuid()), u"sky"_s, Qt::EditRole));
    QVERIFY(!tree.setData(tree.indexOf(camera), u"eye"_s, Qt::EditRole));
    tree.setExecutor(&executor);
    QVERIFY(tree.setData(tree.indexOf(camera), u"eye"_s, Qt::EditRole));
    QCOMPARE(scene->item(camera).name, u"eye"_s);
    QCOMPARE(tree.indexOf(camera).data().toString(), u"eye"_s);
}

QTEST_MAIN(TstGenericTree)
#include "tst_GenericTree.moc"
