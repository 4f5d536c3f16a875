#pragma once

#include <corvane/registry/Definition.h>

namespace corvane::registry {

/// What became of one definition file that ships with the program.
struct LoadedBuiltin
{
    int group = 0; ///< in builtinGroups()
    QString path;
    DefinitionPtr definition; ///< null when the file can't be read
    QStringList errors;       ///< why it must not be registered
};

/// All of them, in their fixed order. The files are part of the program, so they are read once;
/// callers that register one make a copy.
[[nodiscard]] const QList<LoadedBuiltin> &loadedBuiltins();

/// See Registry::loadPrimitiveFromYAMLFile().
[[nodiscard]] DefinitionPtr loadDefinitionFile(const QString &path);

} // namespace corvane::registry
