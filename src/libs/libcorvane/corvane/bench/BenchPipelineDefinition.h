#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvane::bench {

/// One way to export a scene, as a bench compares them: a row of ExportRequest's settings.
struct BenchPipelineDefinition
{
    /// Of the file when the file does not say.
    QString name{};
    /// "MC", "DC", "DC-octree"; any other word runs marching cubes.
    QString extractor{QStringLiteral("MC")};
    /// Scene units; 0 takes the scene's own.
    float cellSize = 0.0f;
    /// "CPU", "GPU", "Native"; any other word runs on the CPU.
    QString backend{QStringLiteral("CPU")};
    /// Whether the surface is closed at the scene's box.
    bool sealed = false;
    /// Steps as ExportRequest has them.
    QStringList postprocess{};

    /// The keys are the names of the fields; all are written.
    QJsonObject toJson() const;

    /// Nothing, with an error, for a value of the wrong type, a cell size that is no size, or a
    /// step that does not exist. Missing keys have their defaults, unknown ones are ignored.
    static std::optional<BenchPipelineDefinition> fromJson(const QJsonObject &object,
                                                           QString &error);

    /// Reads a JSON file of at most 1 MiB. Errors: "Cannot open %1", "Bad JSON in %1: %2", "Bad
    /// definition %1: %2".
    static std::optional<BenchPipelineDefinition> fromFile(const QString &path, QString &error);

    bool operator==(const BenchPipelineDefinition &) const = default;
};

} // namespace corvane::bench
