// What a person at the window waits for: a step of a drag on a parameter, a selection, a tree of
// ten thousand rows that is opened, filtered and scrolled.
#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/look/Theme.h>
#include <corvane/ui/properties/PropertiesPanel.h>
#include <corvane/ui/tree/SceneTreePanel.h>
#include <corvane/ui/variables/VariablesPanel.h>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using corvane::lifecycle::SceneSession;
using corvane::model::LogicalInstance;

namespace {

constexpr int nodesOfGroup = 20;
constexpr int variableCount = 20;

/// The panels over a scene of so many nodes, in groups, every tenth with an expression.
struct Panels
{
    explicit Panels(int nodeCount)
        : tree(&session)
        , variables(&session, &scope)
        , properties(&session, &tree.panelModel(), &scope)
    {
        QObject::connect(&session, &SceneSession::expressionsChanged, &scope,
                         &ExpressionScope::setManager);
        scope.setManager(session.expressions());
        for (int i = 0; i < variableCount; ++i)
            session.document()->setVariableEntry(u"v%1"_s.arg(i), {.value = double(i + 1)});
        fill(nodeCount);
        for (QWidget *panel : {static_cast<QWidget *>(&tree), static_cast<QWidget *>(&variables),
                               static_cast<QWidget *>(&properties)}) {
            panel->resize(280, 700);
            panel->show();
        }
        QCoreApplication::processEvents();
    }

    void fill(int nodeCount)
    {
        QList<LogicalInstance> nodes;
        QList<QUuid> roots;
        for (int i = 0; i < nodeCount; ++i) {
            if (i % nodesOfGroup == 0) {
                nodes.append(LogicalInstance());
                nodes.last().name = u"Group %1"_s.arg(i);
                roots.append(nodes.last().id);
            }
            LogicalInstance node;
            node.name = u"Ball %1"_s.arg(i);
            node.definitionId = u"sphere"_s;
            node.wrappers = {{u"translate"_s, {}}, {u"rotate"_s, {}}, {u"scale"_s, {}}};
            if (i % 10 == 1)
                node.params.insert(u"radius"_s, u"=v%1*2.0"_s.arg(i % variableCount));
            auto &group = nodes[nodes.size() - 1 - i % nodesOfGroup];
            group.children.append(node.id);
            nodes.append(node);
        }
        session.tree()->setNodes(nodes, roots);
        session.expressions()->evaluateAll();
    }

    QUuid node(const QString &name)
    {
        const auto &all = session.tree()->instances();
        for (const LogicalInstance &instance : all) {
            if (instance.name == name)
                return instance.id;
        }
        return {};
    }

    SceneSession session;
    ExpressionScope scope;
    SceneTreePanel tree;
    VariablesPanel variables;
    PropertiesPanel properties;
};

void dragStep(benchmark::State &state)
{
    Panels panels(int(state.range(0)));
    panels.tree.panelModel().selectItem(panels.node(u"Ball 0"_s));
    panels.properties.refresh();
    NumberField *field = nullptr;
    for (NumberField *candidate : panels.properties.findChildren<NumberField *>()) {
        if (candidate->name() == u"Radius"_s)
            field = candidate;
    }
    if (!field || !field->controller().beginDrag())
        return state.SkipWithError("there is no field to drag");
    double pixels = 0.0;
    for (auto _ : state) {
        field->controller().dragTo(pixels += 1.0, NumberController::Pace::Fine);
        QCoreApplication::processEvents(); // with what it repaints
    }
    field->controller().endDrag();
}
BENCHMARK(dragStep)->Arg(1000)->Unit(benchmark::kMillisecond);

void select(benchmark::State &state)
{
    Panels panels(int(state.range(0)));
    const QUuid nodes[] = {panels.node(u"Ball 0"_s), panels.node(u"Ball 1"_s)};
    std::size_t i = 0;
    for (auto _ : state) {
        panels.tree.panelModel().selectItem(nodes[++i % 2]);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(select)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void openTree(benchmark::State &state)
{
    Panels panels(int(state.range(0)));
    for (auto _ : state) {
        SceneTreePanel tree(&panels.session);
        tree.resize(280, 700);
        tree.show();
        QCoreApplication::processEvents();
        if (tree.view()->model()->rowCount() * nodesOfGroup != state.range(0))
            state.SkipWithError("rows are missing");
    }
}
BENCHMARK(openTree)->Arg(10000)->Unit(benchmark::kMillisecond);

void filterTree(benchmark::State &state)
{
    Panels panels(int(state.range(0)));
    bool isOn = false;
    for (auto _ : state) {
        panels.tree.searchField()->setText((isOn = !isOn) ? u"Ball 77"_s : u"Ball 7"_s);
        emit panels.tree.searchField()->returnPressed(); // searches at once
        QCoreApplication::processEvents();
    }
}
BENCHMARK(filterTree)->Arg(10000)->Unit(benchmark::kMillisecond);

void scrollTree(benchmark::State &state)
{
    Panels panels(int(state.range(0)));
    panels.tree.view()->expandAll();
    QScrollBar &bar = *panels.tree.view()->verticalScrollBar();
    for (auto _ : state) {
        bar.setValue((bar.value() + 40) % qMax(1, bar.maximum()));
        panels.tree.view()->viewport()->repaint();
    }
}
BENCHMARK(scrollTree)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    applyAppearance(Appearance::Dark);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
