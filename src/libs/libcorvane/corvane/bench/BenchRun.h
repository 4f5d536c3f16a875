#pragma once

#include <corvane/bench/BenchReport.h>
#include <corvane/bench/BenchRequest.h>
#include <corvane/bench/TestDB.h>

#include <functional>

namespace corvane::bench {

/// Runs every scene of a request under every definition, writes a row of metrics for each into the
/// database, and a report at the end.
///
/// A cell that fails is a row without success, and the bench goes on; what concerns all cells (the
/// database, the folders, the definitions) ends it. What was finished before that stays in the
/// database.
///
/// Any thread, which it blocks.
class BenchRun
{
public:
    struct Surroundings
    {
        /// Compiles a scene file, on whatever thread that is possible. Nothing, with an error, when
        /// it cannot be done.
        std::function<std::optional<CompiledScene>(const QString &path, QString &error)> compile{};
        std::function<void(const QString &)> log{};
        std::function<void(int done, int total)> progress{};
        lab::TestDB::Code code{};
    };

    BenchRun(const BenchRequest &request, const Surroundings &surroundings,
             const std::atomic_bool &cancelFlag);

    /// What ended it early; empty when all cells were run.
    QString run();

    /// `cells`, `exportOk`, `gateOk`, `testSetId`, `reportPath`, `dbPath` (without password), and
    /// `failures` where there are some: how many cells failed, and why the first did.
    QVariantMap result() const;

    /// Whether there is no cell that did not fail.
    bool hasFailedAll() const;
    /// "2 of 4 cells failed; the first, ball × mc: export failed: ..."; empty when none did.
    QString failures() const;

    /// Where the report goes: beside a database file, and among the artifacts of a server's.
    static QString reportPathFor(const BenchOptions &options, qint64 testSetId);

private:
    QString prepare();
    QString registerSet(lab::TestDB &database);
    QString runScene(lab::TestDB &database, int sceneIndex);
    QString record(lab::TestDB &database, int definitionIndex, int sceneIndex,
                   const BenchCellResult &cell);
    QString paramsOf(const BenchPipelineDefinition &definition) const;
    QString writeReport();
    QString artifactPath(int sceneIndex, int definitionIndex) const;

    const BenchRequest m_request;
    const Surroundings m_surroundings;
    const std::atomic_bool &m_cancelFlag;
    BenchCorpus m_corpus;
    QStringList m_sceneNames, m_definitionNames; ///< as artifacts have them
    qint64 m_testSetId = -1;
    QList<qint64> m_sessionIds; ///< by definition
    QList<BenchCellResult> m_cells;
    QString m_reportPath;
};

} // namespace corvane::bench
