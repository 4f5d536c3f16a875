#include <corvane/tasks/BenchResults.h>

#include <corvane/bench/MeshMetrics.h>
#include <corvane/bench/TestDB.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

constexpr auto rowsQuery =
    "SELECT s.config_name, s.params_json, r.* FROM runs r JOIN sessions s ON r.session_id = s.id "
    "JOIN test_configs c ON s.test_config_id = c.id WHERE c.test_set_id = ? "
    "ORDER BY r.iteration, c.ordering, r.id"_L1;

/// A query that failed says why in `error`.
bool execute(QSqlQuery &query, QString &error)
{
    if (query.exec())
        return true;
    error = query.lastError().text();
    return false;
}

std::optional<qint64> newestSet(const QSqlDatabase &database, QString &error)
{
    QSqlQuery query(database);
    query.prepare(u"SELECT MAX(id) FROM test_sets"_s);
    if (!execute(query, error))
        return std::nullopt;
    if (query.next() && !query.value(0).isNull())
        return query.value(0).toLongLong();
    error = u"the database has no test set"_s;
    return std::nullopt;
}

QStringList scenesOf(const QString &paramsJson)
{
    const QJsonObject params = QJsonDocument::fromJson(paramsJson.toUtf8()).object();
    return params.value("scenes"_L1).toVariant().toStringList();
}

/// Of the metrics those that the database has a column for: an older one has fewer.
QList<QLatin1String> metricsOf(const QSqlRecord &record)
{
    QList<QLatin1String> names;
    for (const bench::MetricColumn &column : bench::metricColumns()) {
        if (record.contains(column.name))
            names.append(column.name);
    }
    return names;
}

BenchRow rowOf(const QSqlQuery &query, const QStringList &scenes,
               const QList<QLatin1String> &metrics)
{
    const int iteration = query.value(u"iteration"_s).toInt();
    BenchRow row{.scene = scenes.value(iteration, QString::number(iteration)),
                 .definition = query.value(0).toString(),
                 .success = query.value(u"success"_s).toBool(),
                 .score = query.value(u"score"_s).toDouble()};
    for (const QLatin1String metric : metrics) {
        const QVariant value = query.value(QString(metric));
        if (!value.isNull())
            row.metrics.insert(metric, value.toDouble());
    }
    return row;
}

std::optional<QList<BenchRow>> readRows(const QSqlDatabase &database,
                                        const BenchResults::Filter &filter, QString &error)
{
    const auto set =
        filter.testSetId < 0 ? newestSet(database, error) : std::optional<qint64>(filter.testSetId);
    if (!set)
        return std::nullopt;
    QSqlQuery query(database);
    query.setForwardOnly(true);
    query.prepare(rowsQuery);
    query.addBindValue(*set);
    if (!execute(query, error))
        return std::nullopt;
    QList<BenchRow> rows;
    const QList<QLatin1String> metrics = metricsOf(query.record());
    QHash<QString, QStringList> scenes; ///< by the text that lists them: one for each session
    while (query.next()) {
        const QString params = query.value(1).toString();
        if (!scenes.contains(params))
            scenes.insert(params, scenesOf(params));
        const BenchRow row = rowOf(query, scenes.value(params), metrics);
        const bool fits = (filter.scene.isEmpty() || row.scene == filter.scene) &&
                          (filter.definition.isEmpty() || row.definition == filter.definition);
        if (fits)
            rows.append(row);
    }
    return rows;
}

double sum(const QList<BenchComparison::Scene> &scenes, BenchRow BenchComparison::Scene::*side,
           const QString &metric)
{
    double total = 0.0;
    for (const BenchComparison::Scene &scene : scenes)
        total += (scene.*side).metric(metric).value_or(0.0);
    return total;
}

/// Of those that have the metric; no number when none has.
double mean(const QList<BenchComparison::Scene> &scenes, BenchRow BenchComparison::Scene::*side,
            const QString &metric)
{
    const auto count =
        std::count_if(scenes.cbegin(), scenes.cend(), [&](const BenchComparison::Scene &scene) {
            return (scene.*side).metric(metric).has_value();
        });
    return count > 0 ? sum(scenes, side, metric) / double(count) : bench::MeshMetrics::none;
}

QJsonValue jsonOfMetric(const BenchRow &row, const QString &name)
{
    const auto value = row.metric(name);
    return value ? QJsonValue(*value) : QJsonValue();
}

} // namespace

QJsonObject BenchRow::toJson() const
{
    QJsonObject object{{u"scene"_s, scene},
                       {u"definition"_s, definition},
                       {u"success"_s, success},
                       {u"score"_s, score}};
    for (auto it = metrics.cbegin(); it != metrics.cend(); ++it)
        object.insert(it.key(), *it);
    return object;
}

std::optional<double> BenchRow::metric(const QString &name) const
{
    const auto found = metrics.constFind(name);
    return found == metrics.cend() ? std::nullopt : std::optional(*found);
}

std::optional<QList<BenchRow>> BenchResults::read(const QString &database, const Filter &filter,
                                                  QString &error)
{
    // A connection of its own: plans read beside a bench that writes.
    auto results =
        lab::TestDB::fromTarget(database, QUuid::createUuid().toString(QUuid::WithoutBraces));
    if (results.openForReading())
        return readRows(QSqlDatabase::database(results.connectionName(), false), filter, error);
    error = results.errorString();
    return std::nullopt;
}

BenchComparison BenchComparison::of(const QList<BenchRow> &rows, const QString &definitionA,
                                    const QString &definitionB)
{
    QMap<QString, BenchRow> ofA;
    QMap<QString, BenchRow> ofB;
    for (const BenchRow &row : rows) {
        if (row.definition == definitionA)
            ofA.insert(row.scene, row);
        if (row.definition == definitionB)
            ofB.insert(row.scene, row);
    }
    BenchComparison comparison{.definitionA = definitionA, .definitionB = definitionB};
    for (auto it = ofA.cbegin(); it != ofA.cend(); ++it) {
        if (ofB.contains(it.key()))
            comparison.scenes.append({it.key(), *it, ofB.value(it.key())});
    }
    return comparison;
}

QJsonArray BenchComparison::toJson() const
{
    QJsonArray array;
    for (const Scene &scene : scenes) {
        QJsonObject object{{u"scene"_s, scene.name}};
        const auto addBoth = [&](const QString &key, const QString &column) {
            object.insert(key + u'A', jsonOfMetric(scene.a, column));
            object.insert(key + u'B', jsonOfMetric(scene.b, column));
        };
        addBoth(u"triangles"_s, u"triangle_count"_s);
        addBoth(u"surfaceMean"_s, u"surface_mean"_s);
        addBoth(u"featureMean"_s, u"feature_mean"_s);
        addBoth(u"manifold"_s, u"manifold"_s);
        array.append(object);
    }
    return array;
}

QString BenchComparison::summary() const
{
    const auto text = [](double value) {
        return std::isnan(value) ? u"n/a"_s : QString::number(value, 'g', 4);
    };
    const double trianglesA = sum(scenes, &Scene::a, u"triangle_count"_s);
    const double trianglesB = sum(scenes, &Scene::b, u"triangle_count"_s);
    const double ratio = trianglesA > 0.0 ? trianglesB / trianglesA : bench::MeshMetrics::none;
    return u"%1 vs %2 over %3 scenes: triangles %4 \u2192 %5 (\u00d7%6), surface mean %7 \u2192 "
           u"%8, manifold gate %9/%3 \u2192 %10/%3"_s.arg(
               definitionA, definitionB, QString::number(scenes.size()),
               QString::number(trianglesA, 'f', 0), QString::number(trianglesB, 'f', 0),
               text(ratio), text(mean(scenes, &Scene::a, u"surface_mean"_s)),
               text(mean(scenes, &Scene::b, u"surface_mean"_s)),
               QString::number(sum(scenes, &Scene::a, u"manifold"_s)),
               QString::number(sum(scenes, &Scene::b, u"manifold"_s)));
}

} // namespace corvane::zirn
