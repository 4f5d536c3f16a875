#pragma once

#include <corvane/ui/picker/PickerModel.h>

#include <QFrame>

class QLabel;
class QLineEdit;
class QListView;

namespace corvane::ui {

/// The list of all that can be added, at the cursor: type, arrows, Enter. The keyboard stays in the
/// search field. It closes when something is picked, at Escape, and at a click elsewhere.
class PickerPopup : public QFrame
{
    Q_OBJECT

public:
    /// @param usage  not owned; counts what is picked
    PickerPopup(const registry::ThingsFacade *things, PickerUsage *usage,
                ThumbnailSource *thumbnails = nullptr, QWidget *parent = nullptr);

    /// Shows the list anew, with its corner at a point of the screen, or as near as the screen
    /// allows.
    void openAt(const QPoint &globalPosition);
    QLineEdit *searchField() const { return m_search; }
    QListView *list() const { return m_list; }

signals:
    void picked(const QString &id, const QString &kind);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void search(const QString &text);
    void choose(int row);
    bool takeKey(int key);
    void moveBy(int rows);
    void pick(const QModelIndex &index);
    void describe();

    PickerUsage *const m_usage;
    PickerModel *const m_model;
    QLineEdit *const m_search;
    QListView *const m_list;
    QLabel *const m_description;
};

} // namespace corvane::ui
