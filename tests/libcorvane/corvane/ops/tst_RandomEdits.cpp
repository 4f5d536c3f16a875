// Undo is exact: random edits of all kinds, taken back and done again step by step.
#include "RandomOps.h"

#include <corvane/compile/ItemsToNodes.h>
#include <corvane/ops/OpCatalogue.h>

#include <QLoggingCategory>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
namespace OpKind = ops::OpKind;

namespace {

constexpr int opsPerRound = 1000;
constexpr int stepsPerRebuild = 20;

/// What the scene was at each position of the undo stack.
class History
{
public:
    explicit History(OpFixture &fixture)
        : m_fixture(fixture)
    {
        note();
    }

    /// Enters the state at the top of the stack. A refused op must have left the one before.
    bool note()
    {
        const int index = m_fixture.stack().index();
        if (index < m_states.size() && index == m_lastIndex)
            return isAsNoted();
        m_states.resize(index);
        m_states.append(m_fixture.sceneState());
        m_lastIndex = index;
        return true;
    }
    bool isAsNoted()
    {
        m_lastIndex = m_fixture.stack().index();
        const SceneState now = m_fixture.sceneState();
        const SceneState &noted = m_states.at(m_lastIndex);
        const QString difference = now.difference(noted);
        if (difference.isEmpty())
            return true;
        qInfo().noquote() << m_way << difference.left(2000);
        return false;
    }
    bool undo()
    {
        m_way = u"after undo of "_s + m_fixture.stack().undoText();
        m_fixture.stack().undo();
        return isAsNoted();
    }
    bool redo()
    {
        m_way = u"after redo of "_s + m_fixture.stack().redoText();
        m_fixture.stack().redo();
        return isAsNoted();
    }

private:
    OpFixture &m_fixture;
    QList<SceneState> m_states;
    QString m_way;
    int m_lastIndex = -1;
};

/// Whether compiling all expressions anew finds what following the edits has found.
bool isSettled(OpFixture &fixture, expr::ExpressionManager &expressions)
{
    const SceneState followed = fixture.sceneState();
    const QStringList errors = expressions.errors();
    expressions.rebuildGraph();
    expressions.evaluateAll();
    const QString difference = fixture.sceneState().difference(followed);
    if (difference.isEmpty() && errors == expressions.errors())
        return true;
    qInfo().noquote() << "after another rebuild" << difference.left(2000) << errors
                      << expressions.errors();
    return false;
}

/// Items by hand, in a group and in several places each, become nodes.
void openItems(OpFixture &fixture)
{
    model::SceneItem group(QUuid::createUuidV5(QUuid(), u"folder"_s));
    group.itemType = model::ItemTypes::Group;
    group.name = u"Folder"_s;
    fixture.document->addItem(group);
    const auto add = [&](const QString &type, const QString &name, const QVariantList &children,
                         bool isInGroup) {
        model::Instance item(type);
        item.id = QUuid::createUuidV5(QUuid(), name);
        item.name = name;
        item.setParameter(u"radius"_s, u"=a"_s);
        if (!children.isEmpty())
            item.setParameter(u"children"_s, children);
        if (isInGroup)
            item.parentId = group.id;
        fixture.document->addItem(item);
    };
    add(u"sphere"_s, u"Bead"_s, {}, true);
    add(u"union"_s, u"Beads"_s, {u"@Bead"_s, u"@Bead"_s}, true);
    add(u"sphere"_s, u"Knot"_s, {}, false);
    add(u"subtract"_s, u"Chain"_s, {u"@Beads"_s, u"@Knot"_s}, false);
    add(u"union"_s, u"Chains"_s, {u"@Chain"_s, u"@Beads"_s, u"@Bead"_s}, false);
    const auto names = fixture.document->nameIndex();
    fixture.document->setRoots({names.value(u"Chains"_s), names.value(u"Knot"_s)});
    model::itemsToNodes(*fixture.document, fixture.tree);
}

/// A scene with a tree, groups, a component in a component with promotions, and items.
void fill(OpFixture &fixture)
{
    openItems(fixture);
    const QUuid top = fixture.addNode(u"union"_s);
    const QUuid inner = fixture.addNode(u"sphere"_s, top);
    fixture.addNode(u"box"_s, top);
    fixture.apply(OpKind::ComponentNest, {{u"itemId"_s, inner}, {u"definitionId"_s, u"ball"_s}});
    fixture.apply(OpKind::ComponentNest, {{u"itemId"_s, top}, {u"definitionId"_s, u"pair"_s}});
    fixture.addNode(u"pair"_s);
    fixture.addNode(u"ball"_s, fixture.add({{u"itemType"_s, u"sdf"_s}, {u"container"_s, true}}));
    for (const auto &name : {u"a"_s, u"b"_s, u"c"_s})
        fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, name}, {u"value"_s, 2}});
    fixture.apply(OpKind::VarsetAddNamed, {{u"varsetName"_s, u"size"_s}});
    fixture.apply(OpKind::VarsetSetVariable,
                  {{u"name"_s, u"w"_s}, {u"varsetName"_s, u"size"_s}, {u"value"_s, 5}});
    model::Instance item(u"sphere"_s);
    item.id = QUuid::createUuidV5(QUuid(), u"item"_s);
    item.name = u"Old sphere"_s;
    item.setParameter(u"radius"_s, u"=a"_s);
    fixture.document->addItem(item);
    fixture.document->addRoot(item.id);
    fixture.executor.clearHistory();
}

/// An op, a drag of several things, a batch, or a walk on the undo stack.
bool step(RandomOps &random, OpFixture &fixture, History &history)
{
    switch (random.below(20)) {
    case 0: {
        fixture.executor.beginCoalescing(u"Drag"_s);
        const QList<QUuid> dragged{random.node(), random.anything()};
        for (int move = 0; move < 12; ++move)
            fixture.executor.apply(random.nextOfDrag(dragged.at(random.below(2))));
        if (random.below(4) == 0)
            fixture.executor.cancelCoalescing();
        else
            fixture.executor.endCoalescing();
        return history.note();
    }
    case 1: {
        const QString batch = fixture.executor.beginBatch(u"Batch"_s);
        for (int i = 0; i < 5; ++i)
            fixture.executor.apply(random.next());
        fixture.executor.endBatch();
        const bool isAsBefore = history.note();
        if (random.below(2) == 0 && fixture.executor.undoBatch(batch))
            return isAsBefore && history.isAsNoted();
        return isAsBefore;
    }
    case 2: {
        bool isExact = true;
        for (int i = random.below(6); i > 0 && fixture.stack().canUndo(); --i)
            isExact = history.undo() && isExact;
        for (int i = random.below(6); i > 0 && fixture.stack().canRedo(); --i)
            isExact = history.redo() && isExact;
        return isExact;
    }
    default: {
        const ops::CorvaneOp op = random.next();
        const QUuid id = op.args.value(u"itemId"_s).toUuid();
        const QString component = fixture.tree.componentDefIdOf(id);
        if (fixture.executor.apply(op) && op.kind == OpKind::ComponentEditEnter)
            random.noteSession(component, fixture.executor.lastCreatedId());
        if (history.note())
            return true;
        qInfo() << "changed without a step:" << op.kind << op.args;
        return false;
    }
    }
}

} // namespace

class TstRandomEdits : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyKindIsMade();
    void everyStepIsExact_data();
    void everyStepIsExact();
    void everyKindIsTaken();
};

void TstRandomEdits::initTestCase()
{
    // Many random ops are refused, each with its line.
    QLoggingCategory::setFilterRules(u"ondrel.*=false"_s);
}

void TstRandomEdits::everyKindIsMade()
{
    QStringList kinds;
    for (const ops::OpEntry &entry : ops::opCatalogue())
        kinds.append(entry.kind);
    QCOMPARE(RandomOps::kinds(), kinds);
}

void TstRandomEdits::everyStepIsExact_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("inEditor");
    // More rounds by hand: CORVANE_EDIT_ROUNDS=100 for a hundred thousand ops, which take longer
    // than QTEST_FUNCTION_TIMEOUT leaves a function by default.
    const int rounds = qEnvironmentVariableIntValue("CORVANE_EDIT_ROUNDS");
    for (quint32 seed = 1; seed <= quint32(std::max(rounds, 1)); ++seed) {
        QTest::addRow("seed %u", seed) << seed << false;
        QTest::addRow("seed %u, followed as in an editor", seed) << seed << true;
    }
}

void TstRandomEdits::everyStepIsExact()
{
    QFETCH(const quint32, seed);
    QFETCH(const bool, inEditor);
    OpFixture fixture;
    fill(fixture);
    std::optional<EditorFollowers> followers;
    if (inEditor)
        followers.emplace(fixture);
    RandomOps random(fixture, seed);
    History history(fixture);
    const QByteArray first = fixture.state();
    for (int i = 0; i < opsPerRound; ++i) {
        QVERIFY2(step(random, fixture, history), qPrintable(u"step %1"_s.arg(i)));
        if (followers && i % stepsPerRebuild == 0)
            QVERIFY(isSettled(fixture, followers->expressions));
    }

    while (fixture.stack().canUndo())
        QVERIFY2(history.undo(), qPrintable(fixture.stack().redoText()));
    QCOMPARE(fixture.state(), first);
    while (fixture.stack().canRedo())
        QVERIFY2(history.redo(), qPrintable(fixture.stack().undoText()));
}

/// What is refused whenever it is made would be undone exactly, too.
void TstRandomEdits::everyKindIsTaken()
{
    OpFixture fixture;
    fill(fixture);
    const QStringList kinds = RandomOps::kinds();
    QSet<QString> missing(kinds.cbegin(), kinds.cend());
    connect(&fixture.executor, &ops::CorvaneOpExecutor::applied, this,
            [&missing](const QString &kind) { missing.remove(kind); });
    RandomOps random(fixture, 1);
    History history(fixture);
    for (int i = 0; i < opsPerRound && !missing.isEmpty(); ++i)
        step(random, fixture, history);
    QCOMPARE(missing, QSet<QString>());
}

QTEST_GUILESS_MAIN(TstRandomEdits)
#include "tst_RandomEdits.moc"
