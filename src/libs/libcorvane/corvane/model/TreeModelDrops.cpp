// Moving instances of a TreeModel between slots, by drag and drop and by call.
#include <corvane/model/TreeModel.h>

#include <corvane/model/Logging.h>
#include <corvane/model/SlotManager.h>

#include <QMimeData>
#include <QUndoStack>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// A row that is dragged: the id, and where it was.
struct DraggedRow
{
    QUuid id{};
    SlotPlace from{};
    bool isPlaced = false;
};

QString dragLine(const QUuid &id, const SlotPlace &from)
{
    return u"%1 %2 %3 %4"_s.arg(id.toString(QUuid::WithoutBraces), QString::number(int(from.kind)),
                                from.ownerId.toString(QUuid::WithoutBraces),
                                QString::number(from.index));
}

DraggedRow readDragLine(const QString &line)
{
    const QStringList words = line.split(u' ', Qt::SkipEmptyParts);
    DraggedRow row;
    row.id = QUuid::fromString(words.value(0));
    const int kind = words.value(1).toInt();
    row.isPlaced = words.size() == 4 && kind >= SlotPlace::InSlot && kind <= SlotPlace::Detached;
    if (row.isPlaced)
        row.from = {SlotPlace::Kind(kind), QUuid::fromString(words.at(2)),
                    words.at(3).toLongLong()};
    return row;
}

QList<DraggedRow> readDrag(const QMimeData &data)
{
    const QString format = TreeModel::mimeType;
    const QString text =
        data.hasFormat(format) ? QString::fromUtf8(data.data(format)) : data.text();
    QList<DraggedRow> rows;
    const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const DraggedRow row = readDragLine(line);
        if (row.id.isNull())
            return {};
        rows.append(row);
    }
    return rows;
}

} // namespace

QStringList TreeModel::mimeTypes() const
{
    return {mimeType, u"text/plain"_s};
}

QMimeData *TreeModel::mimeData(const QModelIndexList &indexes) const
{
    QStringList lines;
    QStringList ids;
    for (const QModelIndex &index : indexes) {
        const TreeNode &node = *nodeFromIndex(index);
        if (node.instanceId.isNull())
            continue;
        lines.append(dragLine(node.instanceId, placeOf(node)));
        ids.append(data(index, UuidRole).toString());
    }
    if (lines.isEmpty())
        return nullptr;
    auto *mime = new QMimeData;
    mime->setData(mimeType, lines.join(u'\n').toUtf8());
    mime->setText(ids.join(u'\n'));
    return mime;
}

SlotPlace TreeModel::placeOf(const TreeNode &node) const
{
    if (node.isSlot)
        return {SlotPlace::InSlot, node.parent->instanceId, node.slotIndex};
    return {node.isOrphan ? SlotPlace::Detached : SlotPlace::AtTop, {}, -1};
}

SlotPlace TreeModel::dropPlace(const TreeNode &target, int row) const
{
    if (target.isOrphanRoot)
        return {};
    if (!target.parent) { // between the roots
        SlotPlace place{SlotPlace::AtTop, {}, -1};
        if (row >= 0 && row < target.children.size())
            place.index = m_scene->roots().indexOf(target.children.at(row)->instanceId);
        return place;
    }
    const bool takesChildren = !target.isEmptySlot && ChildSlots::of(target.definitionId).exist;
    if (takesChildren || !target.isSlot)
        return {SlotPlace::InSlot, target.instanceId, row};
    return {SlotPlace::InSlot, target.parent->instanceId, target.slotIndex};
}

bool TreeModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                             const QModelIndex &parent)
{
    Q_UNUSED(column)
    if (action == Qt::IgnoreAction)
        return true;
    const QList<DraggedRow> dragged =
        data && m_scene && action == Qt::MoveAction ? readDrag(*data) : QList<DraggedRow>();
    if (dragged.isEmpty())
        return false;
    const TreeNode &target = *nodeFromIndex(parent);
    SlotPlace to = dropPlace(target, row);
    SlotMoves moves(*m_scene);
    for (const DraggedRow &drag : dragged) {
        if (drag.id == target.instanceId)
            return refuse(u"Cannot move instance into itself"_s);
        const QModelIndex place = indexForInstance(drag.id);
        const SlotPlace from =
            drag.isPlaced || !place.isValid() ? drag.from : placeOf(*nodeFromIndex(place));
        const auto landed = moves.move(drag.id, from, to);
        if (!landed)
            return refuse(moves.reason());
        if (to.index >= 0)
            to.index = *landed + 1; // the next one behind it
    }
    return moves.commit(m_undoStack);
}

bool TreeModel::moveInstanceToSlot(const QModelIndex &from, const QModelIndex &to)
{
    if (!m_scene || !from.isValid() || !to.isValid())
        return false;
    const TreeNode &moved = *nodeFromIndex(from);
    const TreeNode &target = *nodeFromIndex(to);
    if (moved.instanceId.isNull())
        return false;
    if (moved.instanceId == target.instanceId)
        return refuse(u"Cannot move instance into itself"_s);
    SlotMoves moves(*m_scene);
    if (!moves.move(moved.instanceId, placeOf(moved), dropPlace(target, -1))) {
        const bool isCycle = moves.refusal() == SlotMoves::Refusal::Cycle;
        return refuse(isCycle ? u"Cannot move instance into its descendants"_s : moves.reason());
    }
    return moves.commit(m_undoStack);
}

bool TreeModel::refuse(const QString &reason)
{
    qCWarning(lcModel).noquote() << reason;
    emit moveRefused(reason);
    return false;
}

} // namespace corvane::model
