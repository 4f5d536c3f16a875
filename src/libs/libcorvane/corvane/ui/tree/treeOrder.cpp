#include <corvane/ui/tree/treeOrder.h>

#include <corvane/model/LogicalScene.h>

namespace corvane::ui {

QList<QUuid> inTreeOrder(const model::LogicalScene &tree, const QList<QUuid> &ids)
{
    if (ids.size() < 2)
        return ids;
    QSet<QUuid> open(ids.cbegin(), ids.cend());
    QList<QUuid> ordered;
    const QList<QUuid> all = tree.nodesInOrder() + ids;
    for (const QUuid &id : all) {
        if (open.remove(id))
            ordered.append(id);
    }
    return ordered;
}

} // namespace corvane::ui
