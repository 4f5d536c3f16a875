#pragma once

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace corvane::zirn {

/// How one scene came out under one definition, as a results database has it.
struct BenchRow
{
    QString scene{};
    QString definition{};
    bool success = false;
    double score = 0.0;
    QHash<QString, double> metrics{}; ///< by column; what was not measured is left out

    QJsonObject toJson() const;
    std::optional<double> metric(const QString &name) const;
};

/// Reads the rows of a mesh bench. Any thread.
class BenchResults
{
public:
    struct Filter
    {
        qint64 testSetId = -1; ///< negative: the newest
        QString scene{};       ///< empty: all
        QString definition{};  ///< empty: all
    };

    /// By scene, then by definition. The database is opened for reading only: it is never made, and
    /// no table either. On failure none, and `error` says why.
    /// @param database  a path, or the URL of a PostgreSQL database
    static std::optional<QList<BenchRow>> read(const QString &database, const Filter &filter,
                                               QString &error);
};

/// Two definitions over the scenes that both have.
struct BenchComparison
{
    struct Scene
    {
        QString name{};
        BenchRow a{}, b{};
    };

    QString definitionA{}, definitionB{};
    QList<Scene> scenes{};

    static BenchComparison of(const QList<BenchRow> &rows, const QString &definitionA,
                              const QString &definitionB);
    /// One record a scene: triangles, surface mean and manifold of either.
    QJsonArray toJson() const;
    QString summary() const;
};

} // namespace corvane::zirn
