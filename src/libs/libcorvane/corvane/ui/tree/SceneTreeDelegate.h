#pragma once

#include <QHash>
#include <QSet>
#include <QStyledItemDelegate>
#include <QUuid>

namespace corvane::ui {

/// Draws a row of the scene tree: icon by kind, name, a mark where something is wrong or locked,
/// and at the right the eye and the sign for "alone", which show while the mouse is on the row or
/// they are in force. Clicks on these two are told by signals.
class SceneTreeDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// What is wrong with items, in words, by id.
    void setProblems(const QHash<QUuid, QString> &problems) { m_problems = problems; }
    /// The one branch that is shown; null for all.
    void setSoloRoot(const QUuid &id) { m_soloRoot = id; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

    /// Where the two signs are drawn in a row.
    static QRect eyeRect(const QRect &row);
    static QRect soloRect(const QRect &row);

signals:
    void hideClicked(const QUuid &id, bool hide);
    void soloClicked(const QUuid &id);

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

private:
    void paintSigns(QPainter &painter, const QStyleOptionViewItem &option,
                    const QModelIndex &index) const;

    QHash<QUuid, QString> m_problems;
    QUuid m_soloRoot;
};

} // namespace corvane::ui
