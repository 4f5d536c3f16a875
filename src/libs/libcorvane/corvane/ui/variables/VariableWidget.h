#pragma once

#include <corvane/ui/fields/ExpressionScope.h>
#include <corvane/ui/variables/VariableList.h>

#include <QWidget>

class QLabel;
class QSlider;

namespace corvane::ui {

class FieldWidget;
class VariableTarget;

/// One variable in the panel: a handle to drag it by, its name, its field, and a slider where it
/// has a range.
class VariableWidget : public QWidget
{
    Q_OBJECT

public:
    /// @param list  outlives the widget
    VariableWidget(const VariableRow &row, VariableList *list, lifecycle::SceneSession *session,
                   const ExpressionScope *scope, QWidget *parent = nullptr);

    const VariableRow &row() const { return m_row; }
    FieldWidget *field() const { return m_field; }
    QSlider *slider() const { return m_slider; } ///< null without a range
    void setUsed(bool used);                     ///< one that nothing reads is dimmed
    /// Asks for another name, below the present one.
    void askForName();

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// The handle is dragged to a height of the panel's.
    void dragged(const QPoint &globalPosition);
    void dropped();
    void editRequested();

private:
    FieldWidget *makeValueField(const ExpressionScope *scope);
    void addSlider();
    void slideTo(int position);
    void showSlider();

    const VariableRow m_row;
    VariableList *const m_list;
    VariableTarget *const m_target;
    QLabel *m_handle = nullptr;
    QLabel *m_name = nullptr;
    FieldWidget *m_field = nullptr;
    QSlider *m_slider = nullptr;
};

} // namespace corvane::ui
