#pragma once

#include <corvane/check/Findings.h>

#include <QVariantMap>

namespace corvane::check {

/// A scene file as its checks see it: the block that holds the scene, and where that stands.
struct SceneSource
{
    int version = 1; ///< of the format: 1, or 2 and all above
    KeyPath path{};  ///< of the block: "corvane", or nothing when that is the whole file
    QVariantMap block{};
    QStringList variables{}; ///< "width", and "size.width" of a named varset

    KeyPath at(const QString &key) const { return path + KeyPath{key}; }
};

/// Warns of the keys of a map that are not among the known ones; `otherwise` is the remedy where no
/// known key is near.
void checkKeys(const QVariantMap &map, const KeyPath &path, const QStringList &known,
               Findings &findings,
               const QString &otherwise = QStringLiteral("Correct its name or remove it"));

} // namespace corvane::check
