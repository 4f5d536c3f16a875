#include <corvane/bench/BenchRequest.h>

#include <QDir>
#include <QRegularExpression>
#include <QSet>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestName = 80;

QStringList filesIn(const QString &folder, const QString &pattern)
{
    QStringList paths;
    const QDir dir(folder);
    const QStringList names = dir.entryList({pattern}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QString &name : names)
        paths.append(dir.filePath(name));
    return paths;
}

QStringList filesOf(const QStringList &paths, const QString &folder, const QString &pattern)
{
    return paths.isEmpty() ? filesIn(folder, pattern) : paths;
}

} // namespace

std::optional<BenchRequest> BenchRequest::fromPayload(const QVariantMap &payload)
{
    BenchRequest request;
    request.scenePaths = payload.value(u"scenePaths"_s).toStringList();
    request.scenesDir = payload.value(u"scenesDir"_s).toString();
    request.definitionPaths = payload.value(u"definitionPaths"_s).toStringList();
    request.definitionsDir = payload.value(u"definitionsDir"_s).toString();
    request.options.dbPath = payload.value(u"dbPath"_s).toString();
    request.options.artifactsDir = payload.value(u"artifactsDir"_s).toString();
    if (const QString name = payload.value(u"testSetName"_s).toString(); !name.isEmpty())
        request.options.testSetName = name;
    bool isNumber = false;
    const int timeout = payload.value(u"exportTimeoutMs"_s).toInt(&isNumber);
    if (isNumber)
        request.options.exportTimeoutMs = timeout;
    const bool hasScenes = !request.scenePaths.isEmpty() || !request.scenesDir.isEmpty();
    const bool hasDefinitions =
        !request.definitionPaths.isEmpty() || !request.definitionsDir.isEmpty();
    if (!hasScenes || !hasDefinitions || request.options.dbPath.isEmpty() ||
        request.options.artifactsDir.isEmpty())
        return std::nullopt;
    return request;
}

QString BenchRequest::missingParts()
{
    return u"Job data needs scenes (scenesDir|scenePaths), definitions "
           "(definitionsDir|definitionPaths), dbPath and artifactsDir"_s;
}

BenchCorpus BenchCorpus::read(const BenchRequest &request)
{
    BenchCorpus corpus;
    corpus.scenePaths = filesOf(request.scenePaths, request.scenesDir, u"*.corvane"_s);
    const QStringList definitionPaths =
        filesOf(request.definitionPaths, request.definitionsDir, u"*.json"_s);
    for (const QString &path : definitionPaths) {
        const auto definition = BenchPipelineDefinition::fromFile(path, corpus.error);
        if (!definition)
            return corpus;
        corpus.definitions.append(*definition);
    }
    if (corpus.scenePaths.isEmpty() || corpus.definitions.isEmpty())
        corpus.error = u"empty corpus or definitions"_s;
    return corpus;
}

QStringList uniqueFileNames(const QStringList &names)
{
    static const QRegularExpression unfit(u"[^A-Za-z0-9._-]|^\\."_s);
    QSet<QString> taken;
    QStringList unique;
    for (const QString &name : names) {
        const QString fit = QString(name).left(longestName).replace(unfit, u"_"_s);
        QString free = fit;
        // Case is no difference on some disks that artifacts are copied to.
        for (int number = 2; taken.contains(free.toLower()); ++number)
            free = u"%1-%2"_s.arg(fit, QString::number(number));
        taken.insert(free.toLower());
        unique.append(free);
    }
    return unique;
}

} // namespace corvane::bench
