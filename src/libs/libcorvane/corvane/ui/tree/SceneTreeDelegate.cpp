#include <corvane/ui/tree/SceneTreeDelegate.h>

#include <corvane/item/ScenePanelItemModel.h>
#include <corvane/model/SceneItem.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>
#include <corvane/ui/picker/KindIcons.h>

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using Role = item::ScenePanelItemModel::Role;

constexpr int signSize = 14;
constexpr int signRoom = Metrics::rowHeight;

QUuid idOf(const QModelIndex &index)
{
    return QUuid(index.data(Role::UuidRole).toString());
}

bool hasTag(const QModelIndex &index, const QString &tag)
{
    return index.data(Role::TagsRole).toStringList().contains(tag);
}

QIcon iconOf(const QModelIndex &index)
{
    return icon(iconOfItem(
        index.data(Role::ItemTypeRole).toString(), index.data(Role::DefinitionIdRole).toString(),
        index.data(Role::IsContainerRole).toBool(), index.data(Role::IsComponentRole).toBool()));
}

/// The sign of a place from the right end of a row.
QRect signRect(const QRect &row, int place)
{
    return {row.right() + 1 - (place + 1) * signRoom, row.top(), signRoom, row.height()};
}

void drawSign(QPainter &painter, const QString &name, const QColor &color, const QRect &rect)
{
    QRect place(0, 0, signSize, signSize);
    place.moveCenter(rect.center());
    painter.drawPixmap(place,
                       iconPixmap(name, color, signSize, painter.device()->devicePixelRatioF()));
}

} // namespace

QRect SceneTreeDelegate::eyeRect(const QRect &row)
{
    return signRect(row, 0);
}

QRect SceneTreeDelegate::soloRect(const QRect &row)
{
    return signRect(row, 1);
}

void SceneTreeDelegate::initStyleOption(QStyleOptionViewItem *option,
                                        const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->icon = iconOf(index);
    option->features |= QStyleOptionViewItem::HasDecoration;
    option->decorationSize = QSize(Metrics::iconSize, Metrics::iconSize);
    const bool isFaint =
        hasTag(index, model::ItemTags::Hidden) || index.data(Role::IsReadOnlyRole).toBool();
    if (isFaint)
        option->palette.setColor(QPalette::Text, SemanticPalette::current().muted);
}

QSize SceneTreeDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {Metrics::rowHeight * 4, Metrics::rowHeight};
}

void SceneTreeDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    // The name ends before the signs; what is behind both is drawn first.
    option.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter,
                                          option.widget);
    QStyleOptionViewItem words = option;
    words.rect.setRight(option.rect.right() - 2 * signRoom);
    words.state &= ~QStyle::State_MouseOver;
    QStyledItemDelegate::paint(painter, words, index);
    paintSigns(*painter, option, index);
}

void SceneTreeDelegate::paintSigns(QPainter &painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    const bool isHovered = option.state.testFlag(QStyle::State_MouseOver);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const bool isEditable = !index.data(Role::IsReadOnlyRole).toBool();
    const bool isHidden = hasTag(index, model::ItemTags::Hidden);
    const bool isAlone = !m_soloRoot.isNull() && idOf(index) == m_soloRoot;
    const SemanticPalette &colors = SemanticPalette::current();
    const QColor plain =
        isSelected ? option.palette.color(QPalette::HighlightedText) : colors.muted;
    if (isHidden || (isHovered && isEditable))
        drawSign(painter, isHidden ? u"eye-off"_s : u"eye"_s, plain, eyeRect(option.rect));
    if (isAlone || (isHovered && isEditable))
        drawSign(painter, u"focus"_s, isAlone && !isSelected ? colors.accent : plain,
                 soloRect(option.rect));
    const QRect mark = signRect(option.rect, 2);
    if (m_problems.contains(idOf(index)))
        drawSign(painter, u"circle-alert"_s, isSelected ? plain : colors.error, mark);
    else if (hasTag(index, model::ItemTags::Locked))
        drawSign(painter, u"lock"_s, plain, mark);
}

bool SceneTreeDelegate::editorEvent(QEvent *event, QAbstractItemModel *model,
                                    const QStyleOptionViewItem &option, const QModelIndex &index)
{
    const bool isClick = event->type() == QEvent::MouseButtonRelease &&
                         static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton;
    if (!isClick || index.data(Role::IsReadOnlyRole).toBool())
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    const QPoint at = static_cast<QMouseEvent *>(event)->position().toPoint();
    if (eyeRect(option.rect).contains(at)) {
        emit hideClicked(idOf(index), !hasTag(index, model::ItemTags::Hidden));
        return true;
    }
    if (soloRect(option.rect).contains(at)) {
        emit soloClicked(idOf(index));
        return true;
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

bool SceneTreeDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                                  const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QString text = m_problems.value(idOf(index));
    if (eyeRect(option.rect).contains(event->pos()))
        text = tr("Hide or show");
    else if (soloRect(option.rect).contains(event->pos()))
        text = tr("Show this alone, or everything again");
    QToolTip::showText(event->globalPos(), text, view);
    return true;
}

} // namespace corvane::ui
