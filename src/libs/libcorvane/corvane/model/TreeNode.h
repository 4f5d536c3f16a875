#pragma once

#include <QList>
#include <QString>
#include <QUuid>

namespace corvane::model {

/// A row of the TreeModel: an instance at the top, or a slot of the instance above it with what
/// stands there. An instance that several slots refer to has a row for each.
struct TreeNode
{
    QUuid instanceId{}; ///< null for an empty slot and for the row of the orphans
    QString definitionId{};
    TreeNode *parent = nullptr;
    QList<TreeNode *> children{};
    bool isSlot = false;
    bool isEmptySlot = false;
    bool isOrphanRoot = false; ///< the row above all orphans
    bool isOrphan = false;     ///< nothing that is drawn leads here
    int slotIndex = -1;        ///< in the "children" of the instance above
    QString slotName{};
    int row = 0;
    int repeat = 0; ///< how many rows in front of it, below the same one, show the same
    int depth = -1; ///< 0 for the rows at the top

    bool operator==(const TreeNode &) const = default;
};

} // namespace corvane::model
