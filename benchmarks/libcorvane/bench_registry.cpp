// The definitions at start-up: what every command that needs them waits for.

#include <corvane/registry/BuiltinPaths.h>
#include <corvane/registry/Registry.h>
#include <corvane/registry/code/ShaderValidator.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace corvane::registry;

namespace {

// As at the start of a process whose artifact cache is warm.
void readAllFiles(benchmark::State &state)
{
    Registry registry;
    registry.loadBuiltinPrimitives();
    if (registry.count() != 79)
        state.SkipWithError("definitions are missing");
    for (auto _ : state) {
        for (const BuiltinGroup &group : builtinGroups()) {
            for (const QString &id : group.ids)
                benchmark::DoNotOptimize(
                    Registry::loadPrimitiveFromYAMLFile(group.path(id)).data());
        }
    }
}

void reload(benchmark::State &state)
{
    Registry registry;
    for (auto _ : state)
        registry.loadBuiltinPrimitives();
}

void registerMany(benchmark::State &state)
{
    QList<DefinitionPtr> definitions;
    for (int i = 0; i < state.range(0); ++i) {
        auto definition = DefinitionPtr::create();
        definition->id = u"own_%1"_s.arg(i);
        definition->shaderCode =
            u"float sdf_own_%1(vec3 p, float r) { return length(p) - r; }"_s.arg(i);
        definitions.append(definition);
    }
    for (auto _ : state) {
        Registry registry;
        registry.registerFileScopedPrimitives(definitions);
    }
}

} // namespace

BENCHMARK(readAllFiles)->Unit(benchmark::kMillisecond);
BENCHMARK(reload)->Unit(benchmark::kMillisecond);
BENCHMARK(registerMany)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    const QTemporaryDir dataHome;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome.path()));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
