#pragma once

#include <eval/Program.h>
#include <eval/internal/CompiledProgram.h>

#include <benchmark/benchmark.h>

#include <QSharedPointer>
#include <QString>

#include <vector>

/// The fields that the evaluation benchmarks share, from 1 node to 80, written the way a scene
/// becomes text.
namespace bench {

constexpr int rowLength = 101;
constexpr eval::Handle pointHandle = 1;
constexpr eval::Handle distanceHandle = 2;

struct Field
{
    const char *name;
    QString expression;
    int inside; ///< of 41^3 nodes from -5 to 5, as an independent program counts them
};

const std::vector<Field> &fields();

/// A program from the point `p` to a distance; ends the process when there is none.
QSharedPointer<const eval::internal::CompiledProgram>
compile(const QString &expression, eval::Backend backend = eval::Backend::Interpreted);

/// `nodes` coordinates from -5 to 5.
std::vector<float> coordinates(int nodes);

/// Fails a benchmark whose field has another number of grid nodes inside.
void checkInside(benchmark::State &state, eval::ThreadCopy &copy, int expected);

void reportSamples(benchmark::State &state, int samplesPerRound);

/// Times a program point by point along rows of the given coordinates, and by whole rows.
void timePoints(benchmark::State &state, eval::ThreadCopy &copy, const std::vector<float> &xs);
void timeRows(benchmark::State &state, eval::ThreadCopy &copy);
/// Blocks of points on a slanted line: no two share a coordinate.
void timeScattered(benchmark::State &state, eval::ThreadCopy &copy);

} // namespace bench
