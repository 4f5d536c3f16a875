// Samples per second of fields in the language, from 1 node to 54: what an export or a bounds
// search waits for. Each field is written the way a scene becomes text and checked by the number of
// grid nodes inside before it is timed: point by point, along rows, and by the walk over the tree.

#include "FieldSet.h"

using namespace Qt::StringLiterals;
using namespace bench;

namespace {

void pointByPoint(benchmark::State &state, const Field &field, bool byWalk)
{
    const auto compiled =
        QSharedPointer<eval::internal::CompiledProgram>::create(*compile(field.expression));
    if (byWalk)
        compiled->lowered.reset();
    eval::ThreadCopy copy(compiled);
    if (!byWalk)
        checkInside(state, copy, field.inside);
    timePoints(state, copy, coordinates(byWalk ? 11 : rowLength));
}

void alongRows(benchmark::State &state, const Field &field)
{
    eval::ThreadCopy copy(compile(field.expression));
    checkInside(state, copy, field.inside);
    timeRows(state, copy);
}

/// Setting a point and reading a distance, with next to nothing in between.
void setAndRead(benchmark::State &state)
{
    eval::ThreadCopy copy(compile(u"p.x"_s));
    float x = 0.0f;
    for (auto _ : state) {
        const float point[] = {x, 1.0f, 2.0f};
        copy.setFloats(pointHandle, point);
        copy.evaluateQuick();
        x = copy.getFloat(distanceHandle) + 1.0f;
    }
    benchmark::DoNotOptimize(x);
    reportSamples(state, 1);
}

void registerAll()
{
    for (const Field &field : fields()) {
        const std::string name = field.name;
        benchmark::RegisterBenchmark((name + "/points").c_str(), [&field](benchmark::State &state) {
            pointByPoint(state, field, false);
        });
        benchmark::RegisterBenchmark((name + "/rows").c_str(), [&field](benchmark::State &state) {
            alongRows(state, field);
        });
        benchmark::RegisterBenchmark((name + "/walk").c_str(), [&field](benchmark::State &state) {
            pointByPoint(state, field, true);
        });
    }
    benchmark::RegisterBenchmark("set and read", setAndRead);
}

} // namespace

int main(int argc, char **argv)
{
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
