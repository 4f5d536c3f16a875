#pragma once

#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {

/// How the entries of a scene file's maps are keyed, in both versions.
class SceneKeys
{
public:
    /// Whether a name reads back as itself when it is a map's key: not empty, no colon, "#", quote,
    /// hyphen or line end, and no blanks at its ends.
    static bool isSafe(const QString &name);
    /// The same for a node of version 2, where a hyphen means nothing unless it comes first, and a
    /// key that reads as an id is one.
    static bool isSafeForNode(const QString &name);

    /// The entry with its name: its own, else the key, where that is no uuid.
    static QVariantMap withName(const QString &key, QVariantMap map);
    /// The id that an entry states, under "id" or as its key; null when it has none.
    static QUuid statedId(const QString &key, const QVariantMap &map);
    /// An id that depends on the text alone, so that an entry without id is the same every time.
    static QUuid idOf(const QString &text);
};

} // namespace corvane::model
