#pragma once

#include <corvane/model/SceneWarning.h>

#include <QList>

namespace corvane::model {

class Corvane;
class LogicalScene;

/// Opens a document for editing: what it holds of the field becomes a tree, in place of the one
/// that there was, and leaves the document until the tree is compiled into it.
///
/// Nothing is lost by that: compiled at once, the tree gives the very items that there were, and
/// the same picture. What an earlier compile made of a node is that node again, under its id and
/// with its wrappers. Every other item is a node under its own id, which it keeps
/// (LogicalInstance::ownItem). An item that is listed in several places stands below the first
/// operator that lists it; the other places have references to it. What draws nothing is detached.
///
/// What no tree can say stays an item, with all that hangs together with it: items that are part of
/// themselves, and lists of children that are computed.
///
/// @return why; a line for each item at fault, at most a hundred
QList<SceneWarning> itemsToNodes(Corvane &document, LogicalScene &tree);

} // namespace corvane::model
