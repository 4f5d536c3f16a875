#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <QList>
#include <QString>
#include <QVector3D>

#include <optional>

namespace corvane::bench {

/// A scene file as an export takes it, free of the document and the registry that it came from.
struct CompiledScene
{
    QString path{};
    QList<shader::SDFNode> nodes{};
    int rootIndex = 0;
    eval::DefinitionTable definitions{};
    QVector3D boundsMin{-5.0f, -5.0f, -5.0f};
    QVector3D boundsMax{5.0f, 5.0f, 5.0f};
    bool autoBounds = false; ///< the file says so, or has no box
    float cellSize = 0.1f;   ///< of the file's export settings
};

/// Reads a scene file of either version, with its variables and expressions evaluated. Nothing,
/// with an error, when it cannot be read or has no geometry. Definitions that the file brings are
/// its own: the process-wide registry does not see them, and those of open scenes do not count.
/// Main thread.
std::optional<CompiledScene> compileSceneFile(const QString &path, QString &error);

} // namespace corvane::bench
