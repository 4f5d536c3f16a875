// What the ops of each family do.
#include "OpFixture.h"

#include <corvane/compile/ItemsToNodes.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/ops/ComponentMaterializer.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
namespace OpKind = ops::OpKind;

namespace {

/// A box in a union, made a component of that id; returns its instance.
QUuid nestedPair(OpFixture &fixture, const QString &componentId)
{
    const QUuid top = fixture.addNode(u"union"_s);
    fixture.addNode(u"box"_s, top);
    fixture.addNode(u"sphere"_s, top);
    fixture.apply(OpKind::ComponentNest,
                  {{u"itemId"_s, top}, {u"definitionId"_s, componentId}, {u"name"_s, u"Pair"_s}});
    return fixture.executor.lastCreatedId();
}

/// The names of items, with those that they list in parentheses; a wrapper is ">".
QString outlineOf(const model::Corvane &document, const QList<QUuid> &ids)
{
    QStringList parts;
    for (const QUuid &id : ids) {
        const QList<QUuid> children = document.childInstanceIds(id);
        const QString below = outlineOf(document, children);
        if (document.item(id).hasTag(model::ItemTags::Compiled))
            parts.append(u'>' + below);
        else
            parts.append(document.item(id).name +
                         (children.isEmpty() ? QString() : u'(' + below + u')'));
    }
    return parts.join(u' ');
}

/// Where the wrappers of a node put a point of its inside.
QVector3D placed(const model::LogicalInstance &node, const QVector3D &point)
{
    QMatrix4x4 matrix;
    for (const model::WrapperValues &wrapper : node.wrappers) {
        if (wrapper.definitionId == "translate"_L1)
            matrix.translate(node.translate);
        if (wrapper.definitionId == "scale"_L1)
            matrix.scale(node.scale.x());
        if (wrapper.definitionId != "rotate"_L1)
            continue;
        matrix.rotate(node.rotate.x(), 1, 0, 0);
        matrix.rotate(node.rotate.y(), 0, 1, 0);
        matrix.rotate(node.rotate.z(), 0, 0, 1);
    }
    return matrix.map(point);
}

} // namespace

class TstSceneOps : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void whatIsAddedBelowAGroupIsMovedByIt_data();
    void whatIsAddedBelowAGroupIsMovedByIt();
    void partsInSeveralPlaces_data();
    void partsInSeveralPlaces();
    void drivenTransformIsTakenBack();
    void detachedNodeComesBackDetached_data();
    void detachedNodeComesBackDetached();
    void copyHasAllBelowAndNamesOfItsOwn();
    void namesAreUnique();
    void compiledItemKeepsParametersUnderParams();
    void updatedMaterialReachesItems();
    void renamedVariableTakesExpressionsAlong();
    void renamedItemIsFollowedByAllThatNameIt_data();
    void renamedItemIsFollowedByAllThatNameIt();
    void nodeIsReadByItsOwnName();
    void variablesOfTwoVarsetsMayShareAFullName();
    void brokenExpressionsGetTheirValuesBack();
    void redoBringsBackWhatTheNewExpressionStoodOn();
    void nestingIntoItselfIsRefused();
    void nestedTwiceUnnestsToTheSamePlace_data();
    void nestedTwiceUnnestsToTheSamePlace();
    void unnestedBranchHasThePromotedValues();
    void editWithoutEditsKeepsTheDefinition();
    void editDropsPromotionsWhoseTargetIsGone();
    void publishedComponentBringsWhatItPlaces();
};

void TstSceneOps::whatIsAddedBelowAGroupIsMovedByIt_data()
{
    QTest::addColumn<QString>("itemType");
    QTest::addColumn<bool>("isAlone");
    for (const QString &itemType : {model::ItemTypes::Group, model::ItemTypes::SdfDomain}) {
        QTest::addRow("%s", qPrintable(itemType)) << itemType << true;
        QTest::addRow("%s, beside others", qPrintable(itemType)) << itemType << false;
    }
}

void TstSceneOps::whatIsAddedBelowAGroupIsMovedByIt()
{
    QFETCH(const QString, itemType);
    QFETCH(const bool, isAlone);
    OpFixture fixture;
    const EditorFollowers followers(fixture);
    const QUuid group = fixture.add({{u"itemType"_s, itemType}});
    const QByteArray before = fixture.state();
    const QUuid part = fixture.addNode(u"subtract"_s, group);
    const QUuid operand = fixture.addNode(u"box"_s, part);
    QVERIFY(fixture.apply(OpKind::ItemSetTransform, {{u"itemId"_s, part}, {u"tx"_s, 2}}));
    if (!isAlone)
        fixture.addNode(u"box"_s);

    // The part is drawn once, by its wrapper, and all of it stands in the group.
    const QList<QUuid> roots = fixture.document->roots();
    QCOMPARE(roots.size(), isAlone ? 1 : 2);
    QCOMPARE(fixture.document->childInstanceIds(roots.first()), QList<QUuid>{part});
    for (const QUuid &id : {roots.first(), part, operand})
        QCOMPARE(fixture.document->item(id).parentId, group);
    const QUuid copy = fixture.apply(OpKind::ItemDuplicate, {{u"sourceId"_s, group}})
                           ? fixture.executor.lastCreatedId()
                           : QUuid();
    QCOMPARE(fixture.tree.roots().size(), isAlone ? 2 : 3);
    QCOMPARE(fixture.tree.instance(fixture.tree.roots().last())->displayParent(), copy);
    QVERIFY(fixture.apply(OpKind::ItemRemove, {{u"itemId"_s, group}}));
    QVERIFY(!fixture.tree.contains(part));
    while (fixture.stack().index() > 1)
        fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
}

/// Of a union of a ball and a pair, which is a union of the ball, twice, and a box.
void TstSceneOps::partsInSeveralPlaces_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("outline"); // of what is drawn, by names
    const auto row = [](const char *name, QLatin1StringView kind, const QVariantMap &args,
                        const QString &outline) {
        QTest::newRow(name) << QString(kind) << args << outline;
    };
    const QString ball = u"ball"_s, pair = u"pair"_s, top = u"top"_s, id = u"itemId"_s;
    row("a part goes from all places", OpKind::ItemRemove, {{id, ball}}, u"top(pair(box))"_s);
    row("what it is part of goes without it", OpKind::ItemRemove, {{id, pair}}, u"top(ball)"_s);
    row("it moves from all places", OpKind::ItemSetParent, {{id, ball}, {u"newParentId"_s, {}}},
        u"top(pair(box)) ball"_s);
    row("it changes its place, and keeps the others", OpKind::ItemSetParent,
        {{id, ball}, {u"newParentId"_s, top}, {u"insertIndex"_s, 2}},
        u"top(pair(ball ball box) ball)"_s);
    row("it moves to where it is already", OpKind::ItemSetParent,
        {{id, ball}, {u"newParentId"_s, pair}}, u"top(pair(box ball))"_s);
    row("nothing moves below its own part", OpKind::ItemSetParent,
        {{id, pair}, {u"newParentId"_s, ball}}, {});
    row("a copy has a copy, once", OpKind::ItemDuplicate,
        {{u"sourceId"_s, pair}, {u"newParentId"_s, top}},
        u"top(ball pair(ball ball box) pair Copy(ball 1 ball 1 box 1))"_s);
    row("a component has nothing in common with others", OpKind::ComponentNest, {{id, pair}}, {});
    row("what moves it moves it in all places", OpKind::ItemSetTransform,
        {{id, ball}, {u"tx"_s, 1}}, u"top(>ball pair(>ball >ball box))"_s);
}

void TstSceneOps::partsInSeveralPlaces()
{
    QFETCH(const QString, kind);
    QFETCH(QVariantMap, args);
    QFETCH(const QString, outline);
    OpFixture fixture;
    model::Corvane &document = *fixture.document;
    const auto add = [&document](const QString &type, const QString &name,
                                 const QVariantList &children) {
        model::Instance item(type);
        item.id = QUuid(uint(document.items().size() + 1), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        item.name = name;
        if (!children.isEmpty())
            item.setParameter(u"children"_s, children);
        return document.addItem(item);
    };
    // The first one that lists a part has it; the others have references.
    document.setRoots({add(u"union"_s, u"top"_s, {u"@ball"_s, u"@pair"_s})});
    const QUuid pair = add(u"union"_s, u"pair"_s, {u"@ball"_s, u"@ball"_s, u"@box"_s});
    add(u"sphere"_s, u"ball"_s, {});
    add(u"box"_s, u"box"_s, {});
    for (QVariant &arg : args) {
        const QUuid id = document.instanceIdByName(arg.toString());
        if (!id.isNull())
            arg = id;
    }
    QVERIFY(model::itemsToNodes(document, fixture.tree).isEmpty());
    QCOMPARE(fixture.tree.instances().size(), 6);
    const EditorFollowers followers(fixture);
    const QByteArray before = fixture.state();

    if (outline.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"below the item|more than once"_s));
    QCOMPARE(fixture.executor.apply({kind, args}), !outline.isEmpty());
    const QByteArray after = fixture.state();
    if (outline.isEmpty()) {
        QCOMPARE(after, before);
        return;
    }
    QCOMPARE(outlineOf(document, document.roots()), outline);
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
    QVERIFY(fixture.tree.contains(pair) == outline.contains(u"pair"_s));
}

/// Of a wrapper what was said before an expression came comes back.
void TstSceneOps::drivenTransformIsTakenBack()
{
    OpFixture fixture;
    const QUuid ball = fixture.addNode(u"sphere"_s);
    QVERIFY(fixture.apply(OpKind::SdfSetParameter, {{u"itemId"_s, ball},
                                                    {u"wrapperId"_s, u"translate"_s},
                                                    {u"paramName"_s, u"offset"_s},
                                                    {u"value"_s, QVariantList{5, 0, 1}}}));
    const QByteArray before = fixture.state();
    QVERIFY(fixture.apply(OpKind::ItemSetTransform, {{u"itemId"_s, ball}, {u"tx"_s, u"=w"_s}}));
    const QByteArray after = fixture.state();
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
}

void TstSceneOps::detachedNodeComesBackDetached_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("removed") << QString(OpKind::ItemRemove);
    QTest::newRow("moved to the top") << QString(OpKind::ItemSetParent);
}

void TstSceneOps::detachedNodeComesBackDetached()
{
    QFETCH(const QString, kind);
    OpFixture fixture;
    const QUuid top = fixture.addNode(u"union"_s);
    const QUuid below = fixture.addNode(u"box"_s, top);
    QVERIFY(fixture.tree.detachInstance(top));
    const QByteArray before = fixture.state();
    QVERIFY(fixture.executor.apply({kind, {{u"itemId"_s, top}, {u"newParentId"_s, QUuid()}}}));
    const QByteArray after = fixture.state();
    QVERIFY(after != before);
    fixture.stack().undo();
    QCOMPARE(fixture.tree.indexOf(top), -1);
    QCOMPARE(fixture.tree.parentOf(below), top);
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
}

void TstSceneOps::copyHasAllBelowAndNamesOfItsOwn()
{
    OpFixture fixture;
    const QUuid top = fixture.addNode(u"union"_s);
    const QUuid child = fixture.addNode(u"box"_s, top);
    fixture.apply(OpKind::SdfSetParameter,
                  {{u"itemId"_s, child}, {u"paramName"_s, u"width"_s}, {u"value"_s, 7}});
    QVERIFY(fixture.apply(OpKind::ItemDuplicate, {{u"sourceId"_s, top}}));
    const QUuid copy = fixture.executor.lastCreatedId();
    QCOMPARE(fixture.tree.roots(), (QList<QUuid>{top, copy}));
    QCOMPARE(fixture.tree.instance(copy)->name, u"Union 2"_s);
    const auto *copiedChild = fixture.tree.instance(fixture.tree.children(copy).value(0));
    QVERIFY(copiedChild && copiedChild->id != child);
    QCOMPARE(copiedChild->name, u"Box 2"_s);
    QCOMPARE(copiedChild->params.value(u"width"_s).toInt(), 7);
}

void TstSceneOps::namesAreUnique()
{
    OpFixture fixture;
    const QUuid node = fixture.addNode(u"box"_s);
    const QUuid mesh = fixture.add({{u"itemType"_s, u"mesh"_s}, {u"name"_s, u"Box 1"_s}});
    QCOMPARE(fixture.document->item(mesh).name, u"Box 2"_s);
    fixture.apply(OpKind::ItemRename, {{u"itemId"_s, node}, {u"newName"_s, u"Box 2"_s}});
    QCOMPARE(fixture.tree.instance(node)->name, u"Box 1"_s);
    fixture.apply(OpKind::ItemRename, {{u"itemId"_s, mesh}, {u"newName"_s, u"Lid"_s}});
    fixture.apply(OpKind::ItemRename, {{u"itemId"_s, node}, {u"newName"_s, u"Lid"_s}});
    QCOMPARE(fixture.tree.instance(node)->name, u"Lid 1"_s);
}

void TstSceneOps::compiledItemKeepsParametersUnderParams()
{
    OpFixture fixture;
    model::Instance item(u"sphere"_s);
    item.name = u"Ball"_s;
    fixture.document->addItem(item);
    const QByteArray before = fixture.state();
    fixture.apply(OpKind::SdfSetParameter,
                  {{u"itemId"_s, item.id}, {u"paramName"_s, u"radius"_s}, {u"value"_s, 3}});
    fixture.apply(OpKind::ItemSetTypeData, {{u"itemId"_s, item.id},
                                            {u"key"_s, u"parameters"_s},
                                            {u"value"_s, QVariantMap{{u"radius"_s, 4}}}});
    QCOMPARE(fixture.document->instance(item.id).parameter(u"radius"_s).toInt(), 4);
    QVERIFY(!fixture.document->item(item.id).typeData.contains(u"parameters"_s));
    fixture.stack().undo();
    QCOMPARE(fixture.document->instance(item.id).parameter(u"radius"_s).toInt(), 3);
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
}

/// Items that name a material hold a copy of it.
void TstSceneOps::updatedMaterialReachesItems()
{
    OpFixture fixture;
    model::CatalogMaterial steel;
    steel.name = u"Steel"_s;
    fixture.document->addMaterial(steel);
    model::Instance ball(u"sphere"_s);
    ball.materialId = steel.id;
    fixture.document->addItem(ball);
    const QByteArray before = fixture.state();
    QVERIFY(fixture.apply(OpKind::MaterialUpdate,
                          {{u"materialId"_s, steel.id}, {u"roughness"_s, 0.125}}));
    QCOMPARE(fixture.document->item(ball.id).material.roughness, 0.125f);
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.document->item(ball.id).material.roughness, 0.125f);
}

void TstSceneOps::renamedVariableTakesExpressionsAlong()
{
    OpFixture fixture;
    model::LogicalSceneCompiler compiler;
    compiler.setSource(&fixture.tree);
    compiler.setTarget(fixture.document.data());
    expr::ExpressionManager expressions(fixture.document.data());
    fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"w"_s}, {u"value"_s, 2}});
    fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"h"_s}, {u"value"_s, u"=w + 1"_s}});
    const QUuid box = fixture.addNode(u"box"_s);
    // Quotes without need: renaming back alone would not bring them back.
    fixture.apply(
        OpKind::SdfSetParameter,
        {{u"itemId"_s, box}, {u"paramName"_s, u"width"_s}, {u"value"_s, u"=\"w\" * 2"_s}});
    const auto text = [&fixture, &box] {
        const QVariant stored = fixture.tree.instance(box)->params.value(u"width"_s);
        return model::ParameterValue::fromVariant(stored).expression;
    };
    const QString before = text();
    fixture.apply(OpKind::VarsetRenameVar,
                  {{u"oldName"_s, u"w"_s}, {u"newName"_s, u"full width"_s}});
    QCOMPARE(text(), u"\"full width\" * 2"_s);
    QCOMPARE(fixture.document->variableEntry(u"h"_s).expression, u"\"full width\" + 1"_s);
    fixture.stack().undo();
    QCOMPARE(text(), before);
    QCOMPARE(fixture.document->variableEntry(u"h"_s).expression, u"w + 1"_s);
}

void TstSceneOps::renamedItemIsFollowedByAllThatNameIt_data()
{
    QTest::addColumn<bool>("inEditor");
    QTest::newRow("by the op alone") << false;
    QTest::newRow("in an editor, where others follow as well") << true;
}

void TstSceneOps::renamedItemIsFollowedByAllThatNameIt()
{
    QFETCH(const bool, inEditor);
    OpFixture fixture;
    std::optional<EditorFollowers> followers;
    const QUuid node = fixture.addNode(u"sphere"_s);
    const QVariant readsBall = u"=Ball.radius * 2.0"_s;
    model::Instance ball(u"sphere"_s);
    ball.name = u"Ball"_s;
    ball.setParameter(u"radius"_s, 3.0);
    model::Instance top(u"union"_s);
    top.name = u"Top"_s;
    top.setParameter(u"children"_s, QVariantList{u"@Ball"_s});
    top.setParameter(u"smoothness"_s, readsBall);
    fixture.document->addItem(ball);
    fixture.document->addItem(top);
    if (inEditor)
        followers.emplace(fixture);
    fixture.apply(OpKind::SdfSetParameter,
                  {{u"itemId"_s, node}, {u"paramName"_s, u"radius"_s}, {u"value"_s, readsBall}});
    const QByteArray before = fixture.state();

    QVERIFY(
        fixture.apply(OpKind::ItemRename, {{u"itemId"_s, ball.id}, {u"newName"_s, u"Big ball"_s}}));
    const model::Instance renamed = fixture.document->instance(top.id);
    QCOMPARE(renamed.childReferences(), QStringList{u"@Big ball"_s});
    const QString expected = u"\"Big ball\".radius * 2.0"_s;
    QCOMPARE(renamed.parameterValue(u"smoothness"_s).expression, expected);
    const QVariant ofNode = fixture.tree.instance(node)->params.value(u"radius"_s);
    QCOMPARE(model::ParameterValue::fromVariant(ofNode).expression, expected);
    const QByteArray after = fixture.state();
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
}

void TstSceneOps::nodeIsReadByItsOwnName()
{
    OpFixture fixture;
    const QUuid ball = fixture.addNode(u"sphere"_s);
    const QUuid reader = fixture.addNode(u"sphere"_s);
    EditorFollowers followers(fixture);
    const auto rename = [&fixture, &ball](const QString &name) {
        return fixture.apply(OpKind::ItemRename, {{u"itemId"_s, ball}, {u"newName"_s, name}});
    };
    const auto setRadius = [&fixture](const QUuid &id, const QVariant &value) {
        return fixture.apply(
            OpKind::SdfSetParameter,
            {{u"itemId"_s, id}, {u"paramName"_s, u"radius"_s}, {u"value"_s, value}});
    };
    const auto radius = [&] {
        const QUuid core = followers.compiler.mappings().value(reader).coreId;
        return fixture.document->instance(core).parameter(u"radius"_s).toDouble();
    };
    QVERIFY(rename(u"Ball"_s) && setRadius(ball, 3.0));
    QVERIFY(setRadius(reader, u"=Ball.radius * 2.0"_s));
    QCOMPARE(radius(), 6.0);
    const QByteArray before = fixture.state();
    QVERIFY(rename(u"Big ball"_s));
    const QVariant text = fixture.tree.instance(reader)->params.value(u"radius"_s);
    QCOMPARE(model::ParameterValue::fromVariant(text).expression, u"\"Big ball\".radius * 2.0"_s);
    const QByteArray after = fixture.state();
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
    QVERIFY(setRadius(ball, 4.0));
    QCOMPARE(radius(), 8.0);
    // A second node of that name: it means neither.
    fixture.tree.setInstanceName(reader, u"Big ball"_s);
    QCOMPARE(followers.expressions.errors().size(), 1);
    QVERIFY2(followers.expressions.errors().first().contains(u"Unknown name: Big ball"_s),
             qPrintable(followers.expressions.errors().first()));
    fixture.tree.setInstanceName(reader, u"Reader"_s);
    QCOMPARE(followers.expressions.errors(), QStringList());
}

void TstSceneOps::variablesOfTwoVarsetsMayShareAFullName()
{
    OpFixture fixture;
    for (const auto &name : {u"a"_s, u"size.a"_s})
        fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, name}, {u"value"_s, u"=b"_s}});
    fixture.apply(OpKind::VarsetAddNamed, {{u"varsetName"_s, u"size"_s}});
    fixture.apply(OpKind::VarsetSetVariable,
                  {{u"name"_s, u"a"_s}, {u"varsetName"_s, u"size"_s}, {u"value"_s, 5}});
    fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"b"_s}, {u"value"_s, 1}});
    const QByteArray before = fixture.state();
    const int done = fixture.stack().index();
    QVERIFY(
        fixture.apply(OpKind::VarsetRenameVar, {{u"oldName"_s, u"b"_s}, {u"newName"_s, u"c"_s}}));
    QCOMPARE(fixture.document->varsetEntries().value(u"size.a"_s).expression, u"c"_s);
    QCOMPARE(fixture.document->namedVarset(u"size"_s).value(u"a"_s).expression, QString());
    const auto renameSize = [&fixture](const QString &from, const QString &to) {
        return fixture.apply(
            OpKind::VarsetRenameVar,
            {{u"oldName"_s, from}, {u"newName"_s, to}, {u"varsetName"_s, u"size"_s}});
    };
    QVERIFY(renameSize(u"a"_s, u"b"_s) && renameSize(u"b"_s, u"a"_s));
    QVERIFY(fixture.document->varsetEntries().contains(u"size.a"_s));
    QVERIFY(fixture.document->namedVarset(u"size"_s).contains(u"a"_s));
    while (fixture.stack().index() > done)
        fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
}

void TstSceneOps::brokenExpressionsGetTheirValuesBack()
{
    OpFixture fixture;
    const QUuid id = fixture.addNode(u"sphere"_s);
    fixture.apply(OpKind::SdfSetParameter,
                  {{u"itemId"_s, id},
                   {u"paramName"_s, u"radius"_s},
                   {u"value"_s, QVariantMap{{u"expr"_s, u"size*2.0"_s}, {u"fallback"_s, 3.0}}}});
    const EditorFollowers followers(fixture);
    const auto radius = [&] {
        const QUuid core = followers.compiler.mappings().value(id).coreId;
        return fixture.document->instance(core).parameter(u"radius"_s).toDouble();
    };
    QCOMPARE(radius(), 3.0); // there is no such variable
    const QByteArray before = fixture.state();
    QVERIFY(fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"size"_s}, {u"value"_s, 5.0}}));
    QCOMPARE(radius(), 10.0);
    QVERIFY(fixture.apply(OpKind::VarsetRemoveVar, {{u"name"_s, u"size"_s}}));
    QCOMPARE(radius(), 10.0); // it stays on what it had
    const QByteArray after = fixture.state();
    fixture.stack().undo();
    fixture.stack().undo();
    QCOMPARE(radius(), 3.0);
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
}

/// Before and after the edit the expression gives nothing, and stays on another value.
void TstSceneOps::redoBringsBackWhatTheNewExpressionStoodOn()
{
    OpFixture fixture;
    const QUuid id = fixture.addNode(u"sphere"_s);
    const EditorFollowers followers(fixture);
    const auto setRadius = [&](const QString &text, double fallback) {
        return fixture.apply(
            OpKind::SdfSetParameter,
            {{u"itemId"_s, id},
             {u"paramName"_s, u"radius"_s},
             {u"value"_s, QVariantMap{{u"expr"_s, text}, {u"fallback"_s, fallback}}}});
    };
    const auto radius = [&] {
        const QUuid core = followers.compiler.mappings().value(id).coreId;
        return fixture.document->instance(core).parameter(u"radius"_s).toDouble();
    };
    QVERIFY(setRadius(u"size*2.0"_s, 3.0) && setRadius(u"width*2.0"_s, 7.0));
    QCOMPARE(radius(), 7.0);
    fixture.stack().undo();
    QCOMPARE(radius(), 3.0);
    fixture.stack().redo();
    QCOMPARE(radius(), 7.0);
}

void TstSceneOps::nestingIntoItselfIsRefused()
{
    OpFixture fixture;
    const QUuid pair = nestedPair(fixture, u"pair"_s);
    const QUuid top = fixture.addNode(u"union"_s);
    fixture.apply(OpKind::ItemSetParent, {{u"itemId"_s, pair}, {u"newParentId"_s, top}});
    // A scene may place a component that it does not have; nesting must not close the circle.
    fixture.tree.componentRegistry()->removeDefinition(u"pair"_s);
    const QByteArray before = fixture.state();
    const int steps = fixture.stack().count();
    QTest::ignoreMessage(QtWarningMsg, "component.nest: refused: A component cannot contain itself "
                                       "(directly or through another component).");
    QVERIFY(!fixture.apply(OpKind::ComponentNest,
                           {{u"itemId"_s, top}, {u"definitionId"_s, u"pair"_s}}));
    QCOMPARE(fixture.state(), before);
    QCOMPARE(fixture.stack().count(), steps);
}

void TstSceneOps::nestedTwiceUnnestsToTheSamePlace_data()
{
    QTest::addColumn<QVariantMap>("outer");
    QTest::addColumn<QVariantMap>("inner");
    const auto at = [](double x, double y, double z) { return QVariantList{x, y, z}; };
    const QVariantMap moved{{u"translate"_s, at(1, 2, 3)}};
    const QVariantMap turned{{u"rotate"_s, at(30, -50, 70)}, {u"translate"_s, at(5, 0, 0)}};
    const QVariantMap all{
        {u"translate"_s, at(-1, 4, 2)}, {u"rotate"_s, at(20, 90, 10)}, {u"scale"_s, at(2, 2, 2)}};
    QTest::newRow("moved inside") << QVariantMap() << moved;
    QTest::newRow("moved outside") << moved << QVariantMap();
    QTest::newRow("moved in both") << moved << turned;
    QTest::newRow("turned in both") << turned << all;
    QTest::newRow("by a right angle") << all << turned;
}

void TstSceneOps::nestedTwiceUnnestsToTheSamePlace()
{
    QFETCH(QVariantMap, outer);
    QFETCH(QVariantMap, inner);
    OpFixture fixture;
    const QUuid box = fixture.addNode(u"box"_s);
    const auto transform = [&fixture](const QUuid &id, QVariantMap args) {
        args.insert(u"itemId"_s, id);
        return args.size() == 1 || fixture.apply(OpKind::ItemSetTransform, args);
    };
    QVERIFY(transform(box, inner));
    const model::LogicalInstance before = *fixture.tree.instance(box);
    QVERIFY(fixture.apply(OpKind::ComponentNest, {{u"itemId"_s, box}}));
    const QUuid instance = fixture.executor.lastCreatedId();
    QVERIFY(transform(instance, outer));
    const model::LogicalInstance around = *fixture.tree.instance(instance);
    QVERIFY(fixture.apply(OpKind::ComponentUnnest, {{u"itemId"_s, instance}}));
    const auto *after = fixture.tree.instance(fixture.executor.lastCreatedId());
    QCOMPARE(after->definitionId, u"box"_s);
    for (const QVector3D &point :
         {QVector3D(0, 0, 0), QVector3D(1, 0, 0), QVector3D(0.5f, 2, -1)}) {
        const QVector3D expected = placed(around, placed(before, point));
        QVERIFY((placed(*after, point) - expected).length() < 1e-4f);
    }
}

void TstSceneOps::unnestedBranchHasThePromotedValues()
{
    OpFixture fixture;
    const QUuid pair = nestedPair(fixture, u"pair"_s);
    const auto nodes =
        model::structureNodesOf(fixture.tree.componentRegistry()->definition(u"pair"_s));
    const auto promotion = [](const QString &alias, const QUuid &node, const QString &param,
                              const QString &expression) {
        return QVariantMap{
            {u"alias"_s, alias},
            {u"target"_s, QVariantMap{{u"node"_s, node.toString()}, {u"param"_s, param}}},
            {u"binding"_s, expression.isEmpty() ? u"passthrough"_s : u"expression"_s},
            {u"expression"_s, expression}};
    };
    const QVariantList interface {
        promotion(u"size"_s, nodes.at(1).id, u"width"_s, {}),
            promotion(u"ball"_s, nodes.at(2).id, u"radius"_s, u"size * 2"_s)
    };
    QVERIFY(fixture.apply(OpKind::ComponentUpdateDefinition,
                          {{u"definitionId"_s, u"pair"_s},
                           {u"definition"_s, QVariantMap{{u"interface"_s, interface}}}}));
    fixture.apply(OpKind::SdfSetParameter,
                  {{u"itemId"_s, pair}, {u"paramName"_s, u"size"_s}, {u"value"_s, 4}});
    QVERIFY(fixture.apply(OpKind::ComponentUnnest, {{u"itemId"_s, pair}}));
    const QList<QUuid> parts = fixture.tree.children(fixture.executor.lastCreatedId());
    QCOMPARE(fixture.tree.instance(parts.at(0))->params.value(u"width"_s).toDouble(), 4.0);
    QCOMPARE(fixture.tree.instance(parts.at(1))->params.value(u"radius"_s).toDouble(), 8.0);
}

void TstSceneOps::editWithoutEditsKeepsTheDefinition()
{
    OpFixture fixture;
    const QUuid pair = nestedPair(fixture, u"pair"_s);
    fixture.addNode(u"pair"_s);
    const QByteArray before = fixture.state();
    QVERIFY(fixture.apply(OpKind::ComponentEditEnter, {{u"itemId"_s, pair}}));
    const QUuid branch = fixture.executor.lastCreatedId();
    QVERIFY(!fixture.tree.contains(pair));
    QCOMPARE(fixture.tree.roots().first(), branch);
    const QVariantMap commit{{u"definitionId"_s, u"pair"_s}, {u"branchRootId"_s, branch}};
    QVERIFY(fixture.apply(OpKind::ComponentEditCommit, commit));
    QCOMPARE(fixture.state(), before);
    fixture.stack().undo();
    QVERIFY(fixture.tree.contains(branch));
    QVERIFY(fixture.apply(OpKind::ComponentEditCommit, commit));
    QCOMPARE(fixture.state(), before);
}

void TstSceneOps::editDropsPromotionsWhoseTargetIsGone()
{
    OpFixture fixture;
    const QUuid pair = nestedPair(fixture, u"pair"_s);
    auto definition = fixture.tree.componentRegistry()->definition(u"pair"_s);
    const auto nodes = model::structureNodesOf(definition);
    definition.promotions = {{.alias = u"size"_s, .targetNode = nodes.at(1).id},
                             {.alias = u"ball"_s, .targetNode = nodes.at(2).id}};
    fixture.tree.componentRegistry()->applyDefinition(definition);
    fixture.apply(OpKind::ComponentEditEnter, {{u"itemId"_s, pair}});
    const QUuid branch = fixture.executor.lastCreatedId();
    fixture.apply(OpKind::ItemRemove, {{u"itemId"_s, fixture.tree.children(branch).at(1)}});
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"component.edit_commit: promotion ball "
                                                          "lost its target — dropped"_s));
    QVERIFY(fixture.apply(OpKind::ComponentEditCommit,
                          {{u"definitionId"_s, u"pair"_s}, {u"branchRootId"_s, branch}}));
    definition = fixture.tree.componentRegistry()->definition(u"pair"_s);
    QCOMPARE(definition.promotions.size(), 1);
    QCOMPARE(definition.promotions.at(0).alias, u"size"_s);
    QCOMPARE(model::structureNodesOf(definition).size(), 2);
}

void TstSceneOps::publishedComponentBringsWhatItPlaces()
{
    OpFixture fixture;
    const QUuid pair = nestedPair(fixture, u"pair"_s);
    fixture.apply(OpKind::ComponentNest, {{u"itemId"_s, pair}, {u"definitionId"_s, u"outer"_s}});
    QVERIFY(fixture.apply(OpKind::ComponentPublish, {{u"definitionId"_s, u"outer"_s}}));
    QCOMPARE(fixture.library.definitions().keys(), (QStringList{u"outer"_s, u"pair"_s}));
    fixture.stack().undo();
    QVERIFY(fixture.library.definitions().isEmpty());
}

QTEST_GUILESS_MAIN(TstSceneOps)
#include "tst_SceneOps.moc"
