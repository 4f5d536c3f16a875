#include <corvane/bench/BenchRun.h>

#include <store/SafeFile.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

// The database failed under a running bench.
QString infrastructureFailure(const QString &what)
{
    return u"Bench infrastructure failure: %1"_s.arg(what);
}

QStringList baseNames(const QStringList &paths)
{
    QStringList names;
    for (const QString &path : paths)
        names.append(QFileInfo(path).completeBaseName());
    return names;
}

QStringList metricNames()
{
    QStringList names;
    for (const MetricColumn &column : metricColumns())
        names.append(column.name);
    return names;
}

qsizetype countOf(const QList<BenchCellResult> &cells, bool BenchCellResult::*fact)
{
    return std::count_if(cells.begin(), cells.end(),
                         [fact](const BenchCellResult &cell) { return cell.*fact; });
}

} // namespace

BenchRun::BenchRun(const BenchRequest &request, const Surroundings &surroundings,
                   const std::atomic_bool &cancelFlag)
    : m_request(request)
    , m_surroundings(surroundings)
    , m_cancelFlag(cancelFlag)
{}

QString BenchRun::run()
{
    if (const QString error = prepare(); !error.isEmpty())
        return error;
    // A connection of its own: several benches may run in one process.
    auto database = lab::TestDB::fromTarget(m_request.options.dbPath,
                                            QUuid::createUuid().toString(QUuid::WithoutBraces));
    if (!database.open())
        return u"DB open failed: %1"_s.arg(database.errorString());
    if (const QString error = registerSet(database); !error.isEmpty())
        return error;
    for (int scene = 0; scene < m_corpus.scenePaths.size(); ++scene) {
        if (const QString error = runScene(database, scene); !error.isEmpty())
            return error;
    }
    for (const qint64 session : std::as_const(m_sessionIds)) {
        if (!database.finishSession(session))
            return infrastructureFailure(database.errorString());
    }
    const QString error = writeReport();
    m_surroundings.log(u"Finished: %1/%2 cells exported, %3 pass the §MQ-2 gate"_s.arg(
        QString::number(countOf(m_cells, &BenchCellResult::exportOk)),
        QString::number(m_cells.size()),
        QString::number(countOf(m_cells, &BenchCellResult::gateOk))));
    return error;
}

QString BenchRun::prepare()
{
    m_corpus = BenchCorpus::read(m_request);
    if (!m_corpus.error.isEmpty())
        return m_corpus.error;
    if (!QDir().mkpath(m_request.options.artifactsDir))
        return u"cannot create artifacts dir %1"_s.arg(m_request.options.artifactsDir);
    m_sceneNames = uniqueFileNames(baseNames(m_corpus.scenePaths));
    QStringList names;
    for (const BenchPipelineDefinition &definition : std::as_const(m_corpus.definitions))
        names.append(definition.name);
    m_definitionNames = uniqueFileNames(names);
    m_surroundings.log(u"Bench set '%1': %2 scenes × %3 definitions, db=%4"_s.arg(
        m_request.options.testSetName, QString::number(m_corpus.scenePaths.size()),
        QString::number(m_corpus.definitions.size()),
        lab::TestDB::displayName(m_request.options.dbPath)));
    return {};
}

QString BenchRun::registerSet(lab::TestDB &database)
{
    const auto failure = [&database] { return infrastructureFailure(database.errorString()); };
    if (!database.addMetricColumns(metricNames()))
        return failure();
    m_testSetId = database.insertTestSet(m_request.options.testSetName,
                                         u"corvane-mesh-quality bench (§BM)"_s);
    if (m_testSetId < 0)
        return failure();
    for (int i = 0; i < m_corpus.definitions.size(); ++i) {
        const BenchPipelineDefinition &definition = m_corpus.definitions.at(i);
        const QString params = paramsOf(definition);
        const qint64 config = database.insertConfig(m_testSetId, definition.name, i, params,
                                                    int(m_corpus.scenePaths.size()));
        const qint64 session = config < 0 ? -1
                                          : database.insertSession(config, definition.name, params,
                                                                   m_surroundings.code);
        if (session < 0)
            return failure();
        m_sessionIds.append(session);
    }
    return {};
}

QString BenchRun::paramsOf(const BenchPipelineDefinition &definition) const
{
    const QJsonObject params{{"definition"_L1, definition.toJson()},
                             {"note"_L1, u"iteration is an index into scenes"_s},
                             {"scenes"_L1, QJsonArray::fromStringList(m_sceneNames)},
                             {"scenePaths"_L1, QJsonArray::fromStringList(m_corpus.scenePaths)}};
    return QString::fromUtf8(QJsonDocument(params).toJson(QJsonDocument::Compact));
}

QString BenchRun::runScene(lab::TestDB &database, int sceneIndex)
{
    const QString path = m_corpus.scenePaths.at(sceneIndex);
    QString sceneError;
    const auto scene = m_surroundings.compile(path, sceneError);
    const MeshExportBench bench(m_request.options, [this] { return m_cancelFlag.load(); });
    const int total = int(m_corpus.scenePaths.size() * m_corpus.definitions.size());
    for (int i = 0; i < m_corpus.definitions.size(); ++i) {
        if (m_cancelFlag)
            return u"Bench cancelled"_s;
        BenchCellResult cell;
        if (scene)
            cell = bench.runSingleExport(*scene, m_corpus.definitions.at(i),
                                         artifactPath(sceneIndex, i));
        else
            cell.error = sceneError;
        if (m_cancelFlag)
            return u"Bench cancelled"_s;
        cell.scene = m_sceneNames.at(sceneIndex);
        cell.definition = m_corpus.definitions.at(i).name;
        if (const QString error = record(database, i, sceneIndex, cell); !error.isEmpty())
            return error;
        m_surroundings.progress(int(m_cells.size()), total);
    }
    return {};
}

QString BenchRun::record(lab::TestDB &database, int definitionIndex, int sceneIndex,
                         const BenchCellResult &cell)
{
    if (!cell.error.isEmpty())
        m_surroundings.log(u"%1 × %2: %3"_s.arg(cell.scene, cell.definition, cell.error));
    lab::TestDB::Metrics metrics;
    for (const MetricColumn &column : metricColumns())
        metrics.append({column.name, metricValue(cell.metrics.*column.value)});
    if (!database.insertRun(m_sessionIds.at(definitionIndex), sceneIndex, cell.gateOk, cell.score,
                            metrics))
        return infrastructureFailure(database.errorString());
    m_cells.append(cell);
    return {};
}

QString BenchRun::artifactPath(int sceneIndex, int definitionIndex) const
{
    return QDir(m_request.options.artifactsDir)
        .filePath(u"%1__%2.ply"_s.arg(m_sceneNames.at(sceneIndex),
                                      m_definitionNames.at(definitionIndex)));
}

QString BenchRun::reportPathFor(const BenchOptions &options, qint64 testSetId)
{
    const bool isUrl = lab::TestDB::isUrl(options.dbPath);
    const QFileInfo database(options.dbPath);
    const QDir folder = isUrl ? QDir(options.artifactsDir) : database.absoluteDir();
    const QString name = isUrl ? u"bench"_s : database.completeBaseName();
    return folder.filePath(u"%1-set%2.html"_s.arg(name, QString::number(testSetId)));
}

QString BenchRun::writeReport()
{
    const BenchReport report{.testSetName = m_request.options.testSetName,
                             .testSetId = m_testSetId,
                             .database = lab::TestDB::displayName(m_request.options.dbPath),
                             .commit = m_surroundings.code.commit,
                             .scenes = m_sceneNames,
                             .definitions = m_corpus.definitions,
                             .cells = m_cells};
    const QString path = reportPathFor(m_request.options, m_testSetId);
    QString error;
    if (!::store::writeRegularFile(path, report.toHtml().toUtf8(), &error))
        return infrastructureFailure(u"cannot write %1: %2"_s.arg(path, error));
    m_reportPath = path;
    return {};
}

bool BenchRun::hasFailedAll() const
{
    return !m_cells.isEmpty() &&
           std::none_of(m_cells.begin(), m_cells.end(),
                        [](const BenchCellResult &cell) { return cell.error.isEmpty(); });
}

QString BenchRun::failures() const
{
    const auto hasFailed = [](const BenchCellResult &cell) { return !cell.error.isEmpty(); };
    const auto first = std::find_if(m_cells.begin(), m_cells.end(), hasFailed);
    if (first == m_cells.end())
        return {};
    const auto count = std::count_if(m_cells.begin(), m_cells.end(), hasFailed);
    return u"%1 of %2 cells failed; the first, %3 × %4: %5"_s.arg(
        QString::number(count), QString::number(m_cells.size()), first->scene, first->definition,
        first->error);
}

QVariantMap BenchRun::result() const
{
    QVariantMap result{{u"cells"_s, m_cells.size()},
                       {u"exportOk"_s, countOf(m_cells, &BenchCellResult::exportOk)},
                       {u"gateOk"_s, countOf(m_cells, &BenchCellResult::gateOk)},
                       {u"testSetId"_s, m_testSetId},
                       {u"reportPath"_s, m_reportPath},
                       {u"dbPath"_s, lab::TestDB::displayName(m_request.options.dbPath)}};
    if (const QString text = failures(); !text.isEmpty())
        result.insert(u"failures"_s, text);
    return result;
}

} // namespace corvane::bench
