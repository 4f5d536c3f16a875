#pragma once

namespace corvane::model {

class Corvane;
class LogicalScene;

/// Makes nodes again of what a document holds of an earlier compile, so that it is edited as the
/// tree that it was.
///
/// A node comes back under the id that it had, with its name, parameters, wrappers, transform and
/// place. It is taken over only where nothing is lost by that: where compiling it gives the very
/// items that the document has. Whatever hangs together with an item that a tree can't give - one
/// that was made or changed by hand, is used twice, or came from a component - stays in the
/// document as it is. Groups have no items, and do not come back.
class NodeRecovery
{
public:
    /// Fills an empty tree, and takes from the document the items that its nodes compile to.
    static void recover(Corvane &document, LogicalScene &tree);
};

} // namespace corvane::model
