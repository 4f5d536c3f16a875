// Fields as machine code: samples per second, and what the way there costs. A cold compile is to
// cost little more than the compiler itself, a warm one no more than opening a file.

#include "FieldSet.h"

#include <eval/internal/native/Codegen.h>
#include <eval/internal/native/NativeCache.h>
#include <eval/internal/native/NativeCompiler.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace bench;
using eval::internal::Codegen;
using eval::internal::jitCompileAndLoad;
using eval::internal::NativeCache;

namespace {

void pointByPoint(benchmark::State &state, const Field &field)
{
    eval::ThreadCopy copy(compile(field.expression, eval::Backend::Native));
    checkInside(state, copy, field.inside);
    timePoints(state, copy, coordinates(rowLength));
}

void alongRows(benchmark::State &state, const Field &field)
{
    eval::ThreadCopy copy(compile(field.expression, eval::Backend::Native));
    checkInside(state, copy, field.inside);
    timeRows(state, copy);
}

void scattered(benchmark::State &state, const Field &field)
{
    eval::ThreadCopy copy(compile(field.expression, eval::Backend::Native));
    checkInside(state, copy, field.inside);
    timeScattered(state, copy);
}

/// The entry itself, called for one point after the other.
void bareEntry(benchmark::State &state, const Field &field)
{
    const auto program = compile(field.expression);
    const auto jit = jitCompileAndLoad(Codegen(*program).emitUnit().text);
    if (!jit.entry)
        return state.SkipWithError(qPrintable(jit.error));
    const std::vector<float> xs = coordinates(rowLength);
    float y = -5.0f;
    for (auto _ : state) {
        float sum = 0.0f;
        for (const float x : xs) {
            const float point[4] = {x, y, 0.7f};
            float distance[4];
            jit.entry(point, distance, nullptr, nullptr);
            sum += distance[0];
        }
        benchmark::DoNotOptimize(sum);
        y = y > 5.0f ? -5.0f : y + 0.1f;
    }
    reportSamples(state, rowLength);
}

void warmCompile(benchmark::State &state, const Field &field)
{
    const QByteArray text = Codegen(*compile(field.expression)).emitUnit().text;
    if (!jitCompileAndLoad(text).entry)
        return state.SkipWithError("there is no compiler");
    for (auto _ : state)
        benchmark::DoNotOptimize(jitCompileAndLoad(text).entry);
}

void coldCompile(benchmark::State &state, const Field &field)
{
    const QByteArray text = Codegen(*compile(field.expression)).emitUnit().text;
    const QString object =
        NativeCache(NativeCache::defaultFolder()).pathOf(NativeCache::keyOf(text));
    for (auto _ : state) {
        QFile::remove(object);
        if (!jitCompileAndLoad(text).entry)
            return state.SkipWithError("there is no compiler");
    }
}

/// What the compiler alone takes for the same text.
void bareCompiler(benchmark::State &state, const Field &field)
{
    const QTemporaryDir folder;
    const QString source = folder.filePath(u"source.cpp"_s);
    QFile file(source);
    if (!file.open(QIODevice::WriteOnly))
        return state.SkipWithError("no folder to work in");
    file.write(Codegen(*compile(field.expression)).emitUnit().text);
    file.close();
    const QStringList arguments{u"-std=c++17"_s,
                                u"-shared"_s,
                                u"-fPIC"_s,
                                u"-O2"_s,
                                u"-fno-exceptions"_s,
                                u"-fno-rtti"_s,
                                u"-o"_s,
                                folder.filePath(u"out.so"_s),
                                source};
    for (auto _ : state) {
        if (QProcess::execute(u"g++"_s, arguments) != 0)
            return state.SkipWithError("there is no compiler");
    }
}

void registerAll()
{
    struct Kind
    {
        const char *name;
        void (*function)(benchmark::State &, const Field &);
        bool isCompile;
    };
    static constexpr Kind kinds[] = {
        {"points", pointByPoint, false},     {"rows", alongRows, false},
        {"scattered", scattered, false},     {"entry", bareEntry, false},
        {"compile/warm", warmCompile, true}, {"compile/cold", coldCompile, true},
        {"compile/bare", bareCompiler, true}};
    for (const Field &field : fields()) {
        for (const Kind &kind : kinds) {
            auto *const added = benchmark::RegisterBenchmark(
                (std::string(field.name) + '/' + kind.name).c_str(),
                [&field, &kind](benchmark::State &state) { kind.function(state, field); });
            if (kind.isCompile)
                added->Unit(benchmark::kMillisecond)->UseRealTime();
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    QStandardPaths::setTestModeEnabled(true); // the user's cache stays as it is
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
