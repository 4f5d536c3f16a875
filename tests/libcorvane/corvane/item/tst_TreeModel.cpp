#include "DocumentMaker.h"

#include <corvane/model/SlotManager.h>
#include <corvane/model/TreeModel.h>

#include <support/KeptRows.h>

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QMimeData>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopedPointer>
#include <QSignalSpy>
#include <QUndoStack>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

/// A union of two spheres and an empty subtraction below a root, and a lone box.
struct SmallScene
{
    Corvane scene;
    DocumentMaker make{scene};
    TreeModel model;
    QUndoStack undo;

    SmallScene()
    {
        make.add(u"a"_s, u"sphere"_s);
        make.add(u"b"_s, u"sphere"_s);
        make.add(u"cut"_s, u"subtract"_s);
        make.add(u"top"_s, u"union"_s, {u"a"_s, u"b"_s, u"cut"_s});
        make.add(u"second"_s, u"union"_s);
        make.add(u"moved"_s, u"translate"_s, {u"second"_s});
        make.add(u"lone"_s, u"box"_s);
        scene.setRoots({make.id(u"top"_s), make.id(u"moved"_s)});
        scene.setUnits(u"mm"_s);
        model.setScene(&scene);
        model.setUndoStack(&undo);
    }
    QModelIndex row(const QString &name) const { return model.indexForInstance(make.id(name)); }
    bool drop(const QString &dragged, const QModelIndex &target, int at = -1)
    {
        QModelIndexList rows;
        const QStringList names = dragged.split(u' ');
        for (const QString &name : names)
            rows.append(row(name));
        const QScopedPointer<QMimeData> mime(model.mimeData(rows));
        return model.dropMimeData(mime.data(), Qt::MoveAction, at, 0, target);
    }
};

QStringList displayed(const TreeModel &model, const QModelIndex &parent = {})
{
    QStringList texts;
    for (int i = 0; i < model.rowCount(parent); ++i)
        texts.append(model.index(i, 0, parent).data().toString());
    return texts;
}

int countRows(const TreeModel &model)
{
    int count = 0;
    QModelIndexList open{QModelIndex()};
    while (!open.isEmpty()) {
        const QModelIndex parent = open.takeLast();
        for (int i = 0; i < model.rowCount(parent); ++i, ++count)
            open.append(model.index(i, 0, parent));
    }
    return count;
}

} // namespace

class TstTreeModel : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void oneMoreSlotIsShown_data();
    void oneMoreSlotIsShown();
    void slotsHaveLabels_data();
    void slotsHaveLabels();
    void rowsSayWhatStandsWhere();
    void rolesTellOfSlots();
    void toolTips_data();
    void toolTips();
    void compiledInstanceTellsWhereItComesFrom();
    void orphansStandUnderOneRow();
    void ringIsShownOnce();
    void sharedInstanceHasARowInEachPlace();
    void doublingEndsAtALimit();
    void longChainIsNoTrouble();
    void burstIsToldAsOneChange();
    void parametersResetNothing();
    void anotherDefinitionHasOtherSlots();
    void renameFollowsReferences();
    void drops_data();
    void drops();
    void refusedDropChangesNothing_data();
    void refusedDropChangesNothing();
    void slotsAreFilledByCall();
    void compiledInstancesStay();
    void randomEditsKeepTheModelSound();
    void iconsAreDrawn();
};

void TstTreeModel::oneMoreSlotIsShown_data()
{
    QTest::addColumn<QString>("definitionId");
    QTest::addColumn<int>("filled");
    QTest::addColumn<int>("expected");

    QTest::newRow("union, none") << u"union"_s << 0 << 2;
    QTest::newRow("union, one") << u"union"_s << 1 << 2;
    QTest::newRow("union, two") << u"union"_s << 2 << 3;
    QTest::newRow("union, nine") << u"union"_s << 9 << 10;
    QTest::newRow("translate, none") << u"translate"_s << 0 << 1;
    QTest::newRow("translate, one") << u"translate"_s << 1 << 1;
    QTest::newRow("two at most, three") << u"additive_blend"_s << 3 << 2;
    QTest::newRow("primitive") << u"sphere"_s << 0 << 0;
    QTest::newRow("unknown") << u"no such thing"_s << 3 << 0;
}

void TstTreeModel::oneMoreSlotIsShown()
{
    QFETCH(QString, definitionId);
    QFETCH(int, filled);
    QTEST(SlotManager::calculateVisibleSlotCount(definitionId, filled), "expected");
}

void TstTreeModel::slotsHaveLabels_data()
{
    QTest::addColumn<ChildSlots>("places");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("expected");

    const ChildSlots plain{.isKnown = true, .exist = true, .maximum = -1, .pattern = {}};
    const auto with = [&plain](const QString &pattern, int maximum) {
        ChildSlots places = plain;
        places.pattern = pattern;
        places.maximum = maximum;
        return places;
    };
    QTest::newRow("first") << plain << 0 << u"a"_s;
    QTest::newRow("last letter") << plain << 25 << u"z"_s;
    QTest::newRow("two letters") << plain << 26 << u"aa"_s;
    QTest::newRow("last of two letters") << plain << 701 << u"zz"_s;
    QTest::newRow("bare number pattern") << with(u"%1"_s, -1) << 1 << u"b"_s;
    QTest::newRow("pattern") << with(u"Part %1"_s, -1) << 1 << u"part 2"_s;
    QTest::newRow("word for one") << with(u"Body"_s, 1) << 0 << u"body"_s;
    QTest::newRow("word for many") << with(u"Body"_s, -1) << 2 << u"body 3"_s;
    QTest::newRow("takes none") << ChildSlots{.isKnown = true, .pattern = {}} << 25 << u"Z"_s;
    QTest::newRow("takes none, far")
        << ChildSlots{.isKnown = true, .pattern = {}} << 26 << u"Child 27"_s;
    QTest::newRow("unknown") << ChildSlots{} << 3 << u"Slot 4"_s;
}

void TstTreeModel::slotsHaveLabels()
{
    QFETCH(ChildSlots, places);
    QFETCH(int, index);
    QTEST(places.nameOf(index), "expected");
}

void TstTreeModel::rowsSayWhatStandsWhere()
{
    const SmallScene small;
    QCOMPARE(displayed(small.model), QStringList({u"top"_s, u"moved"_s, u"Orphans"_s}));
    QCOMPARE(displayed(small.model, small.row(u"top"_s)),
             QStringList({u"[part 1]: a"_s, u"[part 2]: b"_s, u"[part 3]: cut"_s,
                          u"[part 4]: (drop here)"_s}));
    QCOMPARE(displayed(small.model, small.row(u"moved"_s)), QStringList({u"[a]: second"_s}));
    QCOMPARE(small.model.rowCount(small.row(u"a"_s)), 0);
}

void TstTreeModel::rolesTellOfSlots()
{
    const SmallScene small;
    const QModelIndex filled = small.row(u"b"_s);
    const QModelIndex empty = filled.siblingAtRow(3);
    const QString topId = small.make.id(u"top"_s).toString(QUuid::WithoutBraces);
    const auto value = [&small](const QModelIndex &index, const char *role) {
        return index.data(small.model.roleNames().key(role));
    };
    QCOMPARE(value(filled, "isSlot"), QVariant(true));
    QCOMPARE(value(filled, "slotName"), QVariant(u"part 2"_s));
    QCOMPARE(value(filled, "slotChildId"), value(filled, "uuid"));
    QCOMPARE(value(filled, "parentInstanceId"), QVariant(topId));
    QCOMPARE(value(filled, "parentDefinition"), QVariant(u"union"_s));
    QCOMPARE(value(filled, "depth"), QVariant(1));
    QCOMPARE(value(empty, "isEmptySlot"), QVariant(true));
    QCOMPARE(value(empty, "uuid"), QVariant(QString()));
    QCOMPARE(value(empty, "parentInstanceId"), QVariant(topId));
    QCOMPARE(value(small.row(u"top"_s), "isRoot"), QVariant(true));
    QCOMPARE(value(small.row(u"top"_s), "hasChildren"), QVariant(true));
    QCOMPARE(value(filled, "isRoot"), QVariant(false));
    QCOMPARE(value(small.row(u"lone"_s), "isOrphan"), QVariant(true));
}

void TstTreeModel::toolTips_data()
{
    QTest::addColumn<QString>("owner");
    QTest::addColumn<int>("slot"); // -1: the owner itself
    QTest::addColumn<QString>("expected");

    QTest::newRow("instance") << u"top"_s << -1 << u"top (union)\nID: %1"_s;
    QTest::newRow("filled") << u"top"_s << 0 << u"Slot 'part 1': a (sphere)\nID: %1"_s;
    QTest::newRow("optional") << u"top"_s << 3
                              << u"Optional slot 'part 4'\nDrag an instance here to add more"_s;
    QTest::newRow("required") << u"second"_s << 1
                              << u"Required slot 'part 2'\nDrag an instance here to fill"_s;
}

void TstTreeModel::toolTips()
{
    QFETCH(QString, owner);
    QFETCH(int, slot);
    QFETCH(QString, expected);
    const SmallScene small;
    const QModelIndex above = small.row(owner);
    const QModelIndex index = slot < 0 ? above : small.model.index(slot, 0, above);
    const QString id = small.model.instanceIdAt(index).toString(QUuid::WithoutBraces);
    QCOMPARE(index.data(Qt::ToolTipRole).toString(),
             expected.contains(u"%1"_s) ? expected.arg(id) : expected);
}

void TstTreeModel::compiledInstanceTellsWhereItComesFrom()
{
    SmallScene small;
    Instance compiled = small.scene.instance(small.make.id(u"lone"_s));
    compiled.setProvenance({.sourceItemName = u"<Knob>"_s,
                            .role = SDFNodeProvenance::Role::WrapperScale,
                            .roleDetail = u"scale"_s});
    small.scene.updateItem(compiled);
    const QString tip = small.row(u"lone"_s).data(Qt::ToolTipRole).toString();
    for (const auto &part :
         {u"red"_s, u"Source:"_s, u"&lt;Knob&gt;"_s, u"Role:"_s, u"wrapper-scale"_s, u"Parent:"_s,
          u"(none \u2014 root)"_s, u"Compiled:"_s, u"lone"_s})
        QVERIFY2(tip.contains(part), qPrintable(tip));
}

void TstTreeModel::orphansStandUnderOneRow()
{
    SmallScene small;
    small.make.add(u"stray"_s, u"union"_s, {u"leaf"_s, u"a"_s});
    small.make.add(u"leaf"_s, u"box"_s);
    SceneItem camera;
    camera.itemType = ItemTypes::Camera;
    small.scene.addItem(camera);
    const QModelIndex orphans = small.model.index(2, 0);
    QCOMPARE(orphans.data().toString(), u"Orphans"_s);
    QCOMPARE(displayed(small.model, orphans), QStringList({u"lone"_s, u"stray"_s}));
    QCOMPARE(displayed(small.model, small.row(u"stray"_s)).first(), u"[part 1]: leaf"_s);
    small.scene.setRoots({small.make.id(u"stray"_s), small.make.id(u"lone"_s),
                          small.make.id(u"top"_s), small.make.id(u"moved"_s)});
    QCOMPARE(displayed(small.model).size(), 4);
}

void TstTreeModel::ringIsShownOnce()
{
    Corvane scene;
    DocumentMaker make(scene);
    make.add(u"x"_s, u"union"_s, {u"y"_s});
    make.add(u"y"_s, u"union"_s, {u"x"_s, u"y"_s});
    TreeModel model;
    model.setScene(&scene);
    for (const bool isDrawn : {false, true}) {
        scene.setRoots(isDrawn ? QList<QUuid>{make.id(u"y"_s)} : QList<QUuid>());
        // y, x below it, and both where the ring closes, with their empty slots.
        QVERIFY(countRows(model) < 10);
        QVERIFY(model.indexForInstance(make.id(u"x"_s)).isValid());
        QCOMPARE(model.index(0, 0).data().toString() == u"Orphans"_s, !isDrawn);
    }
}

void TstTreeModel::sharedInstanceHasARowInEachPlace()
{
    SmallScene small;
    small.make.setChildren(small.make.id(u"cut"_s), {u"a"_s, u"b"_s});
    QSignalSpy changed(&small.model, &TreeModel::dataChanged);
    QCOMPARE(displayed(small.model, small.row(u"cut"_s)).first(), u"[part 1]: a"_s);
    Instance shared = small.scene.instance(small.make.id(u"a"_s));
    shared.setParameter(u"radius"_s, 3.0);
    small.scene.updateItem(shared);
    QCOMPARE(changed.size(), 2);
}

void TstTreeModel::doublingEndsAtALimit()
{
    Corvane scene;
    DocumentMaker make(scene);
    make.add(u"n0"_s, u"box"_s);
    for (int i = 1; i <= 40; ++i) {
        const QString below = u"n%1"_s.arg(i - 1);
        make.add(u"n%1"_s.arg(i), u"union"_s, {below, below});
    }
    scene.setRoots({make.id(u"n40"_s)});
    TreeModel model;
    model.setScene(&scene);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"shared too often"_s));
    const int rows = countRows(model);
    QVERIFY(rows > 60000 && rows < 70000);
    QCOMPARE(displayed(model), QStringList{u"n40"_s});
}

void TstTreeModel::longChainIsNoTrouble()
{
    Corvane scene;
    DocumentMaker make(scene);
    constexpr int length = 20000;
    make.add(u"n0"_s, u"box"_s);
    for (int i = 1; i < length; ++i)
        make.add(u"n%1"_s.arg(i), u"translate"_s, {u"n%1"_s.arg(i - 1)});
    scene.setRoots({make.id(u"n%1"_s.arg(length - 1))});
    TreeModel model;
    model.setScene(&scene);
    QCOMPARE(model.indexForInstance(make.id(u"n0"_s)).data(TreeModel::DepthRole).toInt(),
             length - 1);
}

void TstTreeModel::burstIsToldAsOneChange()
{
    SmallScene small;
    QVERIFY(small.row(u"top"_s).isValid());
    const support::KeptRows before(small.model, TreeModel::UuidRole);
    QSignalSpy inserted(&small.model, &TreeModel::rowsInserted);
    for (int i = 0; i < 100; ++i)
        small.make.add(u"box %1"_s.arg(i), u"box"_s);
    QCOMPARE(inserted.size(), 0);
    QVERIFY(small.row(u"box 99"_s).isValid());
    QCOMPARE(inserted.size(), 1);
    small.make.add(u"box 100"_s, u"box"_s);
    small.make.add(u"box 101"_s, u"box"_s);
    QCoreApplication::processEvents(); // no one asks, as a view that waits to be told
    QCOMPARE(inserted.size(), 2);
    small.scene.setSceneSetting(u"some.thing"_s, 1);
    QCoreApplication::processEvents();
    QCOMPARE(inserted.size(), 2);
    QCOMPARE(before.lost(), QStringList());
}

void TstTreeModel::parametersResetNothing()
{
    SmallScene small;
    const QPersistentModelIndex row = small.row(u"a"_s);
    QSignalSpy resets(&small.model, &TreeModel::modelReset);
    QSignalSpy changed(&small.model, &TreeModel::dataChanged);
    Instance edited = small.scene.instance(small.make.id(u"a"_s));
    edited.setParameter(u"radius"_s, 2.0);
    small.scene.updateItem(edited);
    QCOMPARE(resets.size(), 0);
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.first().first().toModelIndex(), QModelIndex(row));
    QSignalSpy selection(&small.model, &TreeModel::selectionChanged);
    small.scene.setSelectedInstance(edited.id);
    QCOMPARE(selection.size(), 1);
    QCOMPARE(small.model.selectedRows(), QModelIndexList{row});
    QCOMPARE(row.data(TreeModel::TagsRole).toStringList(), QStringList{u"selected"_s});
}

void TstTreeModel::anotherDefinitionHasOtherSlots()
{
    SmallScene small;
    QCOMPARE(small.model.rowCount(small.row(u"second"_s)), 2);
    Instance edited = small.scene.instance(small.make.id(u"second"_s));
    edited.setDefinitionId(u"translate"_s);
    small.scene.updateItem(edited);
    QCOMPARE(small.model.rowCount(small.row(u"second"_s)), 1);
}

void TstTreeModel::renameFollowsReferences()
{
    SmallScene small;
    const QString before = small.scene.stateFingerprint();
    QVERIFY(small.model.setData(small.row(u"a"_s), u" ball "_s, Qt::EditRole));
    QCOMPARE(small.make.children(u"top"_s), u"ball b cut"_s);
    QVERIFY(!small.model.setData(small.row(u"b"_s), u"ball"_s, Qt::EditRole));
    QVERIFY(!small.model.setData(small.row(u"b"_s), u" "_s, Qt::EditRole));
    QVERIFY(!small.model.setData(small.model.index(2, 0), u"x"_s, Qt::EditRole));
    QCOMPARE(small.undo.count(), 1);
    small.undo.undo();
    QCOMPARE(small.scene.stateFingerprint(), before);
}

void TstTreeModel::drops_data()
{
    QTest::addColumn<QString>("dragged");
    QTest::addColumn<QString>("target"); // empty: between the roots
    QTest::addColumn<int>("slot");       // of the target; -1: the target itself
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("expected"); // of "top", "second", "moved", and the roots

    const auto row = [](const char *name, const QString &dragged, const QString &target, int slot,
                        int at, const QStringList &expected) {
        QTest::newRow(name) << dragged << target << slot << at << expected;
    };
    row("into the empty slot", u"lone"_s, u"top"_s, 3, -1,
        {u"a b cut lone"_s, u""_s, u"second"_s, u"top moved"_s});
    row("into the second slot of none", u"lone"_s, u"second"_s, 1, -1,
        {u"a b cut"_s, u"- lone"_s, u"second"_s, u"top moved"_s});
    row("onto an operator", u"a"_s, u"second"_s, -1, -1,
        {u"b cut"_s, u"a"_s, u"second"_s, u"top moved"_s});
    row("onto a primitive, in front of it", u"lone"_s, u"top"_s, 1, -1,
        {u"a lone b cut"_s, u""_s, u"second"_s, u"top moved"_s});
    row("later in the same list", u"a"_s, u"top"_s, 3, -1,
        {u"b cut a"_s, u""_s, u"second"_s, u"top moved"_s});
    row("earlier in the same list", u"b"_s, u"top"_s, -1, 0,
        {u"b a cut"_s, u""_s, u"second"_s, u"top moved"_s});
    row("a root", u"moved"_s, u"top"_s, 3, -1, {u"a b cut moved"_s, u""_s, u"second"_s, u"top"_s});
    row("among the roots", u"b"_s, u""_s, -1, 0,
        {u"a cut"_s, u""_s, u"second"_s, u"b top moved"_s});
    row("behind the roots", u"b"_s, u""_s, -1, -1,
        {u"a cut"_s, u""_s, u"second"_s, u"top moved b"_s});
    row("several, in order", u"a b"_s, u"second"_s, -1, 0,
        {u"cut"_s, u"a b"_s, u"second"_s, u"top moved"_s});
    row("several in the same list", u"a b"_s, u"top"_s, 3, -1,
        {u"cut a b"_s, u""_s, u"second"_s, u"top moved"_s});
}

void TstTreeModel::drops()
{
    QFETCH(QString, dragged);
    QFETCH(QString, target);
    QFETCH(int, slot);
    QFETCH(int, row);
    SmallScene small;
    const QAbstractItemModelTester tester(&small.model);
    const QModelIndex above = target.isEmpty() ? QModelIndex() : small.row(target);
    const support::KeptRows rows(small.model, TreeModel::UuidRole);
    const QString before = small.scene.stateFingerprint();
    QVERIFY(small.drop(dragged, slot < 0 ? above : small.model.index(slot, 0, above), row));
    const QStringList result{small.make.children(u"top"_s), small.make.children(u"second"_s),
                             small.make.children(u"moved"_s), small.make.roots()};
    QTEST(result, "expected");
    QCOMPARE(rows.lost(), QStringList());
    const QString after = small.scene.stateFingerprint();
    QCOMPARE(small.undo.count(), 1);
    small.undo.undo();
    QCOMPARE(small.scene.stateFingerprint(), before);
    small.undo.redo();
    QCOMPARE(small.scene.stateFingerprint(), after);
}

void TstTreeModel::refusedDropChangesNothing_data()
{
    QTest::addColumn<QString>("dragged");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("reason");

    QTest::newRow("itself") << u"top"_s << u"top"_s << u"Cannot move instance into itself"_s;
    QTest::newRow("its child")
        << u"top"_s << u"cut"_s
        << u"Cannot move instance into its descendants (would create a cycle)"_s;
    QTest::newRow("its child, after another one that could")
        << u"b top"_s << u"cut"_s
        << u"Cannot move instance into its descendants (would create a cycle)"_s;
    QTest::newRow("no slots") << u"a"_s << u"lone"_s
                              << u"Cannot move instance into one that has no slots"_s;
    QTest::newRow("full") << u"a"_s << u"moved"_s
                          << u"Cannot move instance into one whose slots are all filled"_s;
}

void TstTreeModel::refusedDropChangesNothing()
{
    QFETCH(QString, dragged);
    QFETCH(QString, target);
    QFETCH(QString, reason);
    SmallScene small;
    const QString before = small.scene.stateFingerprint();
    QSignalSpy refused(&small.model, &TreeModel::moveRefused);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(reason));
    QVERIFY(!small.drop(dragged, small.row(target)));
    QCOMPARE(refused.size(), 1);
    QCOMPARE(small.scene.stateFingerprint(), before);
    QCOMPARE(small.undo.count(), 0);
}

void TstTreeModel::slotsAreFilledByCall()
{
    SmallScene small;
    const QModelIndex empty = small.model.index(1, 0, small.row(u"second"_s));
    QVERIFY(small.model.moveInstanceToSlot(small.row(u"lone"_s), empty));
    QCOMPARE(small.make.children(u"second"_s), u"- lone"_s);
    QTest::ignoreMessage(QtWarningMsg, "Cannot move instance into its descendants");
    QVERIFY(!small.model.moveInstanceToSlot(small.row(u"moved"_s), small.row(u"second"_s)));
    QVERIFY(!small.model.moveInstanceToSlot({}, small.row(u"second"_s)));
    QMimeData foreign;
    foreign.setText(u"a text\nfrom elsewhere"_s);
    QVERIFY(!small.model.dropMimeData(&foreign, Qt::MoveAction, -1, 0, small.row(u"top"_s)));
}

void TstTreeModel::compiledInstancesStay()
{
    SmallScene small;
    SceneItem compiled = small.scene.item(small.make.id(u"a"_s));
    compiled.tags.insert(ItemTags::Compiled);
    small.scene.updateItem(compiled);
    const Qt::ItemFlags flags = small.model.flags(small.row(u"a"_s));
    QVERIFY(!(flags & (Qt::ItemIsEditable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled)));
    QVERIFY(!small.model.setData(small.row(u"a"_s), u"x"_s, Qt::EditRole));
    QTest::ignoreMessage(QtWarningMsg, "Cannot move compiled instances");
    QVERIFY(!small.drop(u"a"_s, small.row(u"second"_s)));
}

/// Edits from all sides, with references to anything; the model is checked after each.
void TstTreeModel::randomEditsKeepTheModelSound()
{
    SmallScene small;
    const QAbstractItemModelTester tester(&small.model);
    QRandomGenerator random(7);
    const QStringList definitions{u"union"_s, u"translate"_s, u"box"_s, u"no such thing"_s};
    for (int i = 0; i < 300; ++i) {
        const QList<QUuid> ids = small.scene.items().keys();
        const auto anyId = [&] { return ids.at(random.bounded(int(ids.size()))); };
        const QUuid id = anyId();
        switch (random.bounded(6)) {
        case 0:
            small.make.add(u"n%1"_s.arg(i), definitions.at(random.bounded(4)));
            break;
        case 1:
            small.make.setChildren(id, {small.scene.item(anyId()).name, u"gone"_s, u""_s,
                                        small.scene.item(anyId()).name});
            break;
        case 2:
            small.scene.setRoots({anyId(), anyId()});
            break;
        case 3:
            if (ids.size() > 6)
                small.scene.removeItem(id);
            break;
        case 4:
            small.model.setData(small.model.indexForInstance(id), u"r%1"_s.arg(i), Qt::EditRole);
            break;
        case 5:
            small.scene.setSelectedInstance(id);
            break;
        }
        const QList<QUuid> now = small.scene.items().keys();
        for (const QUuid &known : now)
            QCOMPARE(small.model.instanceIdAt(small.model.indexForInstance(known)), known);
    }
}

void TstTreeModel::iconsAreDrawn()
{
    QSet<QByteArray> pictures;
    const QStringList names =
        u"empty_slot box sphere cylinder torus capsule cone plane union subtract "
        "intersect smooth_union smooth_subtract smooth_intersect translate "
        "rotate scale mirror linear_repeat radial_repeat grid_repeat orphans "
        "anything"_s.split(u' ');
    for (const QString &name : names) {
        const QImage picture =
            SlotManager::iconForDefinition(name).pixmap(32).toImage().convertToFormat(
                QImage::Format_ARGB32);
        pictures.insert(
            QByteArray(reinterpret_cast<const char *>(picture.constBits()), picture.sizeInBytes()));
    }
    QCOMPARE(pictures.size(), names.size());
}

QTEST_MAIN(TstTreeModel)
#include "tst_TreeModel.moc"
