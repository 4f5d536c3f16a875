#pragma once

#include <QVariantMap>

namespace corvane::model {

/// What is known of the generations of scene files.
class SceneMigrator
{
public:
    /// The top-level "formatVersion"; a file without one, or with no number there, is of version 1.
    static int detectVersion(const QVariantMap &file);
};

} // namespace corvane::model
