// What an edit of the user's tree costs, by the number of its nodes: the compile of all of them,
// and edits that touch the items of one.
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/registry/Registry.h>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::model;

namespace {

QUuid numbered(int number)
{
    return QUuid::createUuidV5(QUuid(), QString::number(number));
}

LogicalInstance node(int number, const QString &definitionId)
{
    LogicalInstance made(numbered(number));
    made.definitionId = definitionId;
    made.name = u"Node %1"_s.arg(number);
    const QStringList wrappers = initialWrappers(definitionId, {});
    for (const QString &wrapperId : wrappers)
        made.wrappers.append({wrapperId, {}});
    made.translate = {float(number), 1.0f, 2.0f};
    return made;
}

/// Unions of ten in unions of ten; each node has three wrappers and some parameters.
/// @param width  of a box; "%1" stands for its number
QVariantMap treeMap(int count, const QVariant &width = 0.5)
{
    QList<LogicalInstance> nodes;
    for (int i = 0; i < count; ++i) {
        const bool isParent = 10 * i + 1 < count;
        nodes.append(node(i, isParent ? u"union"_s : u"box"_s));
        if (!isParent)
            nodes.last().params = {{u"width"_s, width.typeId() == QMetaType::QString
                                                    ? QVariant(width.toString().arg(i))
                                                    : width},
                                   {u"height"_s, 1.0},
                                   {u"depth"_s, 0.25 * i}};
        if (i > 0)
            nodes[(i - 1) / 10].children.append(numbered(i));
    }
    QVariantList maps;
    for (const LogicalInstance &made : nodes)
        maps.append(made.toVariantMap());
    return {{u"instances"_s, maps}, {u"roots"_s, QStringList{numbered(0).toString()}}};
}

/// A chain, as deep as it has nodes.
QVariantMap chainMap(int count)
{
    QVariantList maps;
    for (int i = 0; i < count; ++i) {
        LogicalInstance made = node(i, u"union"_s);
        if (i + 1 < count)
            made.children = {numbered(i + 1)};
        maps.append(made.toVariantMap());
    }
    return {{u"instances"_s, maps}, {u"roots"_s, QStringList{numbered(0).toString()}}};
}

/// Half as many instances of a component of two nodes, with a promotion each.
QVariantMap componentsMap(int count)
{
    LogicalInstance root = node(-1, u"onion"_s);
    root.children = {numbered(-2)};
    const LogicalInstance box = node(-2, u"box"_s);
    const component::ComponentPromotion width{.alias = u"size"_s,
                                              .displayName = {},
                                              .targetNode = box.id,
                                              .targetParam = u"width"_s,
                                              .binding = component::ComponentPromotion::Expression,
                                              .expression = u"size * 2.0"_s};
    component::ComponentDefinition definition;
    definition.id = u"part"_s;
    definition.promotions = {width};
    definition.structure = {
        {u"root"_s, root.id.toString()},
        {u"instances"_s, QVariantList{root.toVariantMap(), box.toVariantMap()}}};
    QVariantList maps;
    QStringList roots;
    for (int i = 0; i < count / 2; ++i) {
        LogicalInstance made(numbered(i));
        made.componentDefId = u"part"_s;
        made.params = {{u"size"_s, i + 0.5}};
        maps.append(made.toVariantMap());
        roots.append(made.id.toString());
    }
    return {{u"instances"_s, maps},
            {u"roots"_s, roots},
            {u"components"_s, QVariantMap{{u"part"_s, definition.toVariantMap()}}}};
}

/// A scene, compiled, with the expressions followed as the editor does.
struct Editor
{
    explicit Editor(const QVariantMap &map)
    {
        scene.fromVariantMap(map);
        compiler.setSource(&scene);
        compiler.setTarget(&document);
        compiler.fullCompile();
        expressions.evaluateAll();
        QObject::connect(&document, &Corvane::sceneChanged, [this] { ++sceneChanges; });
    }

    LogicalScene scene;
    Corvane document;
    LogicalSceneCompiler compiler;
    expr::ExpressionManager expressions{&document};
    int sceneChanges = 0;
};

/// The same tree, where each box reads a variable and the expressions follow every compile.
struct DrivenEditor : Editor
{
    explicit DrivenEditor(int count)
        : Editor(treeMap(count, u"=w * (%1 + 0.5)"_s))
    {
        QObject::connect(&compiler, &LogicalSceneCompiler::compiled, &expressions,
                         &expr::ExpressionManager::evaluateAll);
        document.setVariableEntry(u"w"_s, {.value = 1.0});
    }

    double widthOf(int number) const
    {
        const QUuid core = compiler.mappings().value(numbered(number)).coreId;
        return document.instance(core).parameter(u"width"_s).toDouble();
    }
};

void compileAll(benchmark::State &state, const QVariantMap &map, qsizetype itemsPerNode)
{
    Editor editor(map);
    const qsizetype expected = itemsPerNode * state.range(0);
    if (editor.document.items().size() != expected || editor.document.roots().isEmpty())
        return state.SkipWithError("the scene did not compile whole");
    for (auto step : state)
        editor.compiler.fullCompile();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void fullCompile(benchmark::State &state)
{
    compileAll(state, treeMap(int(state.range(0))), 4);
}

void fullCompileOfChain(benchmark::State &state)
{
    compileAll(state, chainMap(int(state.range(0))), 4);
}

/// Its instances have wrappers too.
void fullCompileOfComponents(benchmark::State &state)
{
    Editor editor(componentsMap(int(state.range(0))));
    const QUuid first = numbered(0);
    const QUuid box = editor.compiler.syntheticNodes()
                          .value(editor.compiler.componentStructureRoots().value(first))
                          .children.value(0);
    const QUuid core = editor.compiler.mappings().value(box).coreId;
    if (editor.document.instance(core).parameter(u"width"_s).toDouble() != 1.0)
        return state.SkipWithError("the promotion did not arrive");
    for (auto step : state)
        editor.compiler.fullCompile();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The first compile into an empty document, as after opening a file, less the end of the document.
void firstCompile(benchmark::State &state)
{
    LogicalScene scene;
    scene.fromVariantMap(treeMap(int(state.range(0))));
    for (auto step : state) {
        state.PauseTiming();
        auto document = std::make_unique<Corvane>();
        auto compiler = std::make_unique<LogicalSceneCompiler>();
        compiler->setSource(&scene);
        compiler->setTarget(document.get());
        state.ResumeTiming();
        compiler->fullCompile();
        state.PauseTiming();
        compiler.reset();
        document.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void editParameter(benchmark::State &state)
{
    Editor editor(treeMap(int(state.range(0))));
    const QUuid id = numbered(int(state.range(0)) - 1);
    double width = 1.0;
    for (auto step : state)
        editor.scene.setInstanceParameter(id, u"width"_s, width += 0.25);
    const QUuid core = editor.compiler.mappings().value(id).coreId;
    if (editor.sceneChanges > 0 ||
        editor.document.instance(core).parameter(u"width"_s).toDouble() != width)
        state.SkipWithError("the edit did not arrive, or not on the light path");
}

void editTransform(benchmark::State &state)
{
    Editor editor(treeMap(int(state.range(0))));
    const QUuid id = numbered(int(state.range(0)) - 1);
    float x = 1.0f;
    for (auto step : state) {
        x += 0.25f;
        editor.scene.setInstanceTransform(id, {x, 0, 0}, {x, 0, 0}, {1, 1, 1});
    }
    const QUuid wrapper = editor.compiler.mappings().value(id).wrapperIds.value(u"translate"_s);
    if (editor.sceneChanges > 0 ||
        editor.document.instance(wrapper).parameter(u"offset"_s).value<QVector3D>().x() != x)
        state.SkipWithError("the edit did not arrive, or not on the light path");
}

/// A node comes and goes: two compiles, each with its evaluation.
void addAndRemoveNodeWithExpressions(benchmark::State &state)
{
    DrivenEditor editor(int(state.range(0)) / 4);
    const QUuid root = numbered(0);
    for (auto step : state) {
        const QUuid added = editor.scene.addInstance(u"box"_s, root);
        editor.scene.removeInstance(added);
    }
    const int last = int(state.range(0)) / 4 - 1;
    if (editor.widthOf(last) != 0.5 + last)
        state.SkipWithError("an expression was not evaluated");
}

void stepVariable(benchmark::State &state)
{
    const int last = int(state.range(0)) / 4 - 1;
    DrivenEditor editor(last + 1);
    double w = 1.0;
    for (auto step : state)
        editor.document.setVariableEntry(u"w"_s, {.value = w += 1.0});
    if (editor.widthOf(last) != w * (0.5 + last))
        state.SkipWithError("the variable did not arrive");
}

/// One that no expression reads.
void changeSetting(benchmark::State &state)
{
    DrivenEditor editor(int(state.range(0)) / 4);
    double fov = 10.0;
    for (auto step : state)
        editor.document.setSceneSetting(u"camera.fov"_s, fov += 0.5);
}

} // namespace

BENCHMARK(fullCompile)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(firstCompile)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(fullCompileOfChain)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(fullCompileOfComponents)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(50000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(editParameter)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMicrosecond);
BENCHMARK(editTransform)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMicrosecond);
// By the number of items, four a node.
BENCHMARK(addAndRemoveNodeWithExpressions)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(stepVariable)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(changeSetting)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
