#pragma once

#include <corvane/ui/fields/FieldWidget.h>
#include <corvane/ui/fields/NumberController.h>

class QLineEdit;

namespace corvane::ui {

class CompletionPopup;
class NumberEdit;

/// The number field of the whole window.
///
/// Dragging it, or the label that it is given, scrubs; a click without a drag begins to type. The
/// arrow keys and the wheel step, the wheel only while the field has the keyboard. Enter takes what
/// is typed, Escape gives it up, or the drag. "=" begins an expression, with completion.
class NumberField : public FieldWidget
{
    Q_OBJECT

public:
    NumberField(const NumberSpec &spec, FieldTarget *target, const ExpressionScope *scope,
                QWidget *parent = nullptr);

    NumberController &controller() { return *m_controller; }
    QLineEdit *lineEdit() const;
    /// A label that is dragged in place of the field, and gives it the keyboard when clicked.
    void setLabel(QWidget *label);

    QWidget *editor() const override;
    QString copyText() const override;
    bool paste(const QString &text) override { return m_controller->submit(text); }
    expr::ExprType type() const override;

public slots:
    void refresh() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum class Scrub { None, Pressed, Dragging };

    bool handleKey(QKeyEvent &event);
    bool handleWheel(QWheelEvent &event);
    bool handleMouse(QObject *watched, QMouseEvent &event);
    bool pressMouse(QObject *watched, const QMouseEvent &event);
    bool moveMouse(const QMouseEvent &event);
    bool releaseMouse();
    void cancelScrub();
    void commit();
    void revert();

    NumberController *const m_controller;
    NumberEdit *const m_edit;
    QPointer<CompletionPopup> m_completion;
    QPointer<QWidget> m_label;
    Scrub m_scrub = Scrub::None;
    QPointF m_pressedAt;
    int m_wheelRest = 0; ///< eighths of a degree that make no step yet
};

} // namespace corvane::ui
