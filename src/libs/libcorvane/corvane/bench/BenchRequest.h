#pragma once

#include <corvane/bench/MeshExportBench.h>

#include <QStringList>
#include <QVariantMap>

#include <optional>

namespace corvane::bench {

/// What a bench job asks for.
struct BenchRequest
{
    QStringList scenePaths{}; ///< or all "*.corvane" in scenesDir
    QString scenesDir{};
    QStringList definitionPaths{}; ///< or all "*.json" in definitionsDir
    QString definitionsDir{};
    BenchOptions options{};

    /// Keys of a payload: `scenePaths` or `scenesDir`, `definitionPaths` or `definitionsDir`,
    /// `dbPath`, `artifactsDir`, and, if wanted, `testSetName` and `exportTimeoutMs`. Where both a
    /// list and a folder are given the list counts. Nothing when something is missing; see
    /// missingParts().
    static std::optional<BenchRequest> fromPayload(const QVariantMap &payload);
    static QString missingParts();
};

/// The files and definitions that a request means, by name, or what is wrong.
struct BenchCorpus
{
    QStringList scenePaths{};
    QList<BenchPipelineDefinition> definitions{};
    QString error{}; ///< empty when there is at least one of each and all definitions are good

    static BenchCorpus read(const BenchRequest &request);
};

/// Makes names fit for file names, each different from the others: what is no letter, digit, dot,
/// hyphen or underscore becomes "_", a leading dot too, and a name that was there before gets "-2".
QStringList uniqueFileNames(const QStringList &names);

} // namespace corvane::bench
