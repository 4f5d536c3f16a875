// What opening a scene costs: reading, saving, and bringing its expressions up to date, by the
// number of items.
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/SceneVersion1Writer.h>
#include <corvane/yaml/YamlSerializer.h>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace corvane;

namespace {

/// A chain of variables, and items that each read one of them and unite two others.
QString sceneText(int items)
{
    QString text = u"formatVersion: 1\ncorvane:\n  varset:\n    v0: 1.0\n"_s;
    for (int i = 1; i < items; ++i)
        text += u"    v%1: {value: 0, expression: \"v%2 + 1.0\"}\n"_s.arg(QString::number(i),
                                                                          QString::number(i - 1));
    text += u"  instances:\n"_s;
    for (int i = 0; i < items; ++i) {
        text += u"    i%1:\n      type: union\n      params:\n        width: \"=v%1*2.0\"\n"_s
                u"        offset: [0.5, 1.0, -2.0]\n        children: [\"@i%2\", \"@i%3\"]\n"_s.arg(
                    QString::number(i), QString::number(i / 2), QString::number(i / 3));
    }
    return text + u"  roots: [i0]\n"_s;
}

void openScene(benchmark::State &state)
{
    const QString text = sceneText(int(state.range(0)));
    if (model::CorvaneDSLParser::parseText(text).scene->items().size() != state.range(0))
        return state.SkipWithError("the scene did not load whole");
    for (auto step : state)
        benchmark::DoNotOptimize(model::CorvaneDSLParser::parseText(text).scene);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void saveScene(benchmark::State &state)
{
    const auto scene = model::CorvaneDSLParser::parseText(sceneText(int(state.range(0)))).scene;
    for (auto step : state)
        benchmark::DoNotOptimize(yaml::YamlSerializer().serializeMap(scene->toVariantMap()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// As an export does it: compile all, evaluate all.
void evaluateExpressions(benchmark::State &state)
{
    const int items = int(state.range(0));
    const auto scene = model::CorvaneDSLParser::parseText(sceneText(items)).scene;
    {
        expr::ExpressionManager manager(scene.data());
        manager.evaluateAll();
        const QUuid last = scene->instanceIdByName(u"i%1"_s.arg(items - 1));
        if (!manager.errors().isEmpty() ||
            scene->instance(last).parameter(u"width"_s).toInt() != 2 * items)
            return state.SkipWithError("the expressions do not have their values");
    }
    for (auto step : state) {
        expr::ExpressionManager manager(scene.data());
        manager.evaluateAll();
    }
    state.SetItemsProcessed(state.iterations() * 2 * items);
}

/// One variable at the root of everything is dragged.
void dragVariable(benchmark::State &state)
{
    const auto scene = model::CorvaneDSLParser::parseText(sceneText(int(state.range(0)))).scene;
    expr::ExpressionManager manager(scene.data());
    manager.evaluateAll();
    double value = 1.0;
    for (auto step : state)
        scene->setVariableEntry(u"v0"_s, {.value = value += 0.5});
}

BENCHMARK(openScene)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(saveScene)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(evaluateExpressions)->Arg(100)->Arg(1000)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(dragVariable)->Arg(100)->Arg(1000)->Arg(5000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
