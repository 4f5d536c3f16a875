// What a user waits for in the panels: the rows of a scene, and each change of it with all rows
// open, as a view of all of them has them.
#include <corvane/item/ScenePanelItemModel.h>
#include <corvane/item/ScenePanelModelAdapter.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/TreeModel.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <QCoreApplication>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace corvane;

namespace {

qint64 openAll(const QAbstractItemModel &model)
{
    qint64 count = 0;
    QModelIndexList open{QModelIndex()};
    while (!open.isEmpty()) {
        const QModelIndex parent = open.takeLast();
        const int rows = model.rowCount(parent);
        count += rows;
        for (int row = 0; row < rows; ++row)
            open.append(model.index(row, 0, parent));
    }
    return count;
}

void checkRows(benchmark::State &state, const QAbstractItemModel &model)
{
    if (openAll(model) < state.range(0))
        state.SkipWithError("rows are missing");
}

/// Boxes, a hundred to a union, in a tree that nothing compiles, and the panel over it.
struct Panel
{
    explicit Panel(qint64 nodes)
    {
        const model::LogicalScene::Batch batch(tree);
        for (qint64 i = 0; i < nodes; ++i) {
            if (i % 100 == 0)
                parents.append(tree.addInstance(u"union"_s));
            tree.addInstance(u"box"_s, parents.last());
        }
        executor.setLogicalScene(&tree);
        adapter.setExecutor(&executor);
        model.setPanel(&adapter);
    }

    QSharedPointer<model::Corvane> document = QSharedPointer<model::Corvane>::create();
    model::LogicalScene tree;
    ops::CorvaneOpExecutor executor{document};
    item::ScenePanelModelAdapter adapter;
    item::ScenePanelItemModel model;
    QList<QUuid> parents;
};

void panelRows(benchmark::State &state)
{
    const Panel panel(state.range(0));
    for (auto _ : state) {
        item::ScenePanelItemModel rows;
        rows.setPanel(const_cast<item::ScenePanelModelAdapter *>(&panel.adapter));
        benchmark::DoNotOptimize(openAll(rows));
    }
    checkRows(state, panel.model);
}
BENCHMARK(panelRows)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

void panelMove(benchmark::State &state)
{
    Panel panel(state.range(0));
    checkRows(state, panel.model);
    const QUuid moved = panel.tree.children(panel.parents.first()).first();
    qsizetype turn = 0;
    for (auto _ : state) {
        const QUuid to = ++turn % 2 ? panel.parents.last() : panel.parents.first();
        panel.adapter.moveItem(moved, to, 0);
        benchmark::DoNotOptimize(panel.model.rowCount());
    }
}
BENCHMARK(panelMove)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

/// The same as items of a document that no tree stands behind.
struct Expression
{
    explicit Expression(qint64 nodes)
    {
        QList<model::SceneItem> items;
        QList<QUuid> roots;
        for (qint64 top = 0; top < nodes; top += 100) {
            model::Instance parent(u"union"_s);
            parent.name = u"union %1"_s.arg(top);
            QVariantList children;
            for (qint64 i = top; i < std::min(top + 100, nodes); ++i) {
                model::Instance box(u"box"_s);
                box.name = u"box %1"_s.arg(i);
                children.append(u'@' + box.name);
                items.append(box);
            }
            parent.setParameter(u"children"_s, children);
            items.append(parent);
            roots.append(parent.id);
        }
        document.exchangeItems({}, items);
        document.setRoots(roots);
        model.setScene(&document);
    }

    model::Corvane document;
    model::TreeModel model;
};

void expressionRows(benchmark::State &state)
{
    Expression expression(state.range(0));
    for (auto _ : state) {
        expression.model.rebuildTree();
        benchmark::DoNotOptimize(openAll(expression.model));
    }
    checkRows(state, expression.model);
}
BENCHMARK(expressionRows)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

void expressionMove(benchmark::State &state)
{
    Expression expression(state.range(0));
    const auto &model = expression.model;
    checkRows(state, model);
    const int last = model.rowCount() - 1;
    int turn = 0;
    for (auto _ : state) {
        const QModelIndex from = model.index(++turn % 2 ? 0 : last, 0);
        const QModelIndex to = model.index(turn % 2 ? last : 0, 0);
        if (!expression.model.moveInstanceToSlot(model.index(0, 0, from), to))
            state.SkipWithError("nothing moved");
        benchmark::DoNotOptimize(model.rowCount());
    }
}
BENCHMARK(expressionMove)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

/// Items that come one by one while nobody looks: the rows are brought up to date once.
void expressionBurst(benchmark::State &state)
{
    for (auto _ : state) {
        Expression expression(100);
        benchmark::DoNotOptimize(openAll(expression.model));
        for (qint64 i = 0; i < state.range(0); ++i) {
            model::Instance item(u"sphere"_s);
            item.name = u"sphere %1"_s.arg(i);
            expression.document.addItem(item);
        }
        checkRows(state, expression.model);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(expressionBurst)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
