#pragma once

#include <corvane/registry/Definition.h>

#include <optional>

namespace corvane::registry {

/// The user's definitions as a JSON file:
/// {"primitives": [...], "version": "1.0", "generatedBy": ..., "timestamp": ...}.
class UserLibrary
{
public:
    /// The valid entries; nothing, and logged unless the file is simply not there, when it can't be
    /// read.
    [[nodiscard]] static std::optional<QList<DefinitionPtr>> load(const QString &path);
    /// False, and logged, when the file can't be written; it is replaced whole or not at all.
    [[nodiscard]] static bool save(const QString &path, const QList<DefinitionPtr> &definitions);
};

} // namespace corvane::registry
