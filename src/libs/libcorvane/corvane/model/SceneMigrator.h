#pragma once

#include <QStringList>
#include <QVariantMap>

namespace corvane::registry {
class Registry;
}

namespace corvane::model {

/// What is known of the generations of scene files.
class SceneMigrator
{
public:
    /// The top-level "formatVersion"; a file without one, or with no number there, is of version 1.
    static int detectVersion(const QVariantMap &file);

    /// An instance with the keys of today for those of the oldest files: "type" for "definition",
    /// "params" for "parameters", wrappers for the parts of a "transform".
    static QVariantMap withCurrentKeys(QVariantMap instance);

    /// The map of a version 1 file as one of version 2, with the same geometry.
    ///
    /// Instances that only move, turn or scale one other become wrappers of that, where its
    /// definition offers such a wrapper and the values are constant: those that an earlier compile
    /// made are among them, and their cores get the names of their nodes back. An instance that
    /// stands in several places is copied for each, since version 2 is a tree. Children stay
    /// references in "params", which the version 2 reader takes.
    ///
    /// @param error  why it can't be done: too many places of shared parts; the answer is then
    /// `file` itself
    static QVariantMap migrateV1toV2(const QVariantMap &file, QStringList &warnings,
                                     const registry::Registry &registry, QString *error = nullptr);
    /// With the process-wide registry.
    static QVariantMap migrateV1toV2(const QVariantMap &file, QStringList &warnings,
                                     QString *error = nullptr);
};

} // namespace corvane::model
