#pragma once

#include <QSet>
#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {

class Corvane;
class LogicalScene;

/// Writes logical scenes as version 2 files, such that CorvaneDSLParser::parseLogical gives the
/// scene again, and saving that gives the same bytes.
///
/// A node is keyed by its name, or by the first 8 digits of its id when it has none; a key that is
/// taken gets "_2", "_3", and so on. Where the key is not the name, the name stands beside it. A
/// name that no key can hold (a colon, "#", quotes, line ends, a leading "-", blanks at its ends,
/// or one that reads as an id) is keyed by the node's id.
class CorvaneDSLSerializer
{
public:
    /// What the file of a scene holds, for a caller that makes the text of it elsewhere.
    static QVariantMap fileMap(const LogicalScene &scene, const Corvane &document);
    /// The text of a map in the style of scene files. Any thread.
    static QString serializeVariantMap(const QVariantMap &map);

    /// The whole scene with no document around it. False, logged, and with the old file still in
    /// place, when it could not be written.
    static bool serializeLogicalToFile(const LogicalScene &scene, const QString &path,
                                       const QString &name = {}, const QString &units = {});
    /// The whole scene with the name, units, variables, settings, materials, definitions and
    /// metadata of a document.
    static bool serializeLogicalToFile(const LogicalScene &scene, const QString &path,
                                       const Corvane &document);

    /// The text of the nodes in `filter`, with the components that they place. What refers to a
    /// node outside it is left out; a node whose parent is outside becomes a root.
    static QString serializeLogicalFiltered(const LogicalScene &scene, const QString &name,
                                            const QString &units, const QSet<QUuid> &filter);
    static QString serializeLogicalFiltered(const LogicalScene &scene, const Corvane &document,
                                            const QSet<QUuid> &filter);

    /// The text of the whole scene.
    static QString serializeLogical(const LogicalScene &scene, const Corvane &document);
    static QString serializeLogical(const LogicalScene &scene, const QString &name = {},
                                    const QString &units = {});
};

} // namespace corvane::model
