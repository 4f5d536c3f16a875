#pragma once

#include <corvane/check/SceneSource.h>

namespace corvane::check {

/// Warns of settings that nothing reads, and of values that the export takes for something else:
/// every unknown word means the default there.
void checkSettings(const SceneSource &source, Findings &findings);

/// The same of settings that are not in a file: nested maps, whose places are dotted paths, such as
/// "export.celsize".
QList<model::SceneWarning> settingsWarnings(const QVariantMap &settings);

/// "settings.export.bounds", where a key that stands elsewhere belongs; empty when there is no
/// setting of that name.
QString settingsHomeOf(const QString &key);

} // namespace corvane::check
