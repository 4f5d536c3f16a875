// Reading and writing scene text: what a user waits for at every open and save.

#include <corvane/yaml/YamlParser.h>
#include <corvane/yaml/YamlSerializer.h>

#include <benchmark/benchmark.h>

#include <QFile>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace corvane::yaml;

namespace {

// A scene of spheres in the form that the program writes, at least `bytes` long.
QString sceneText(qint64 bytes)
{
    QString text = u"formatVersion: 1\ncorvane:\n  version: 1\n  units: mm\n  instances:\n"_s;
    for (int i = 0; text.size() < bytes; ++i)
        text +=
            u"    item_%1:\n      type: sphere\n      params:\n        radius: %2\n"
            "        offset: [0.0, -0.9, 1.25]\n      tags: [preview, part]\n"
            "      material:\n        albedo: [0.3, 0.3, 0.3, 1.0]\n        roughness: 0.8\n"_s.arg(
                QString::number(i), QString::number(i % 97 + 0.5));
    return text;
}

qint64 peakMemoryBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

void parseScene(benchmark::State &state)
{
    const QString text = sceneText(state.range(0));
    const qint64 before = peakMemoryBytes();
    for (auto _ : state) {
        QList<YamlParser::ParseError> errors;
        const QVariantMap map = YamlParser().parseToVariantMap(text, errors);
        if (!errors.isEmpty() || map.size() != 2)
            state.SkipWithError("the text did not parse");
        benchmark::DoNotOptimize(map.size());
    }
    state.SetBytesProcessed(state.iterations() * text.size());
    state.counters["memory/text"] = double(peakMemoryBytes() - before) / double(text.size());
}

void serializeScene(benchmark::State &state)
{
    QList<YamlParser::ParseError> errors;
    const QVariantMap map = YamlParser().parseToVariantMap(sceneText(state.range(0)), errors);
    YamlSerializer::Options options;
    options.lossless = state.range(1) != 0;
    const YamlSerializer serializer(options);
    qint64 bytes = 0;
    for (auto _ : state)
        bytes += serializer.serializeMap(map).size();
    state.SetBytesProcessed(bytes);
}

} // namespace

BENCHMARK(parseScene)
    ->Arg(10'000)
    ->Arg(1'000'000)
    ->Arg(10'000'000)
    ->Arg(100'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(serializeScene)
    ->Args({1'000'000, 0})
    ->Args({1'000'000, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
