#pragma once

#include <corvane/ui/fields/FieldMenu.h>
#include <corvane/ui/fields/FieldTarget.h>

#include <QPointer>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace corvane::ui {

/// What a field is called, and the scope of its expressions.
struct FieldLabel
{
    QString name{};        ///< as shown, and as a screen reader says it
    QString description{}; ///< the tool tip
};

/// What all fields have in common: an editor, a line below it for what is wrong, a dot while the
/// value is not the default, and the context menu. Shift+F10 and the menu key open that, too.
class FieldWidget : public QWidget
{
    Q_OBJECT

public:
    /// Neither target nor scope is owned; with its target gone a field shows nothing.
    FieldWidget(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
                QWidget *parent = nullptr);

    QString name() const { return m_label.name; }
    FieldTarget *target() const { return m_target; }
    const ExpressionScope *scope() const { return m_scope; }

    /// What has the keyboard when the field is entered.
    virtual QWidget *editor() const = 0;
    /// As "Copy" puts it on the clipboard, and "Paste" takes it.
    virtual QString copyText() const = 0;
    virtual bool paste(const QString &text) = 0;
    virtual expr::ExprType type() const = 0;

    /// What is wrong, as the line below says it; empty for nothing.
    QString errorText() const;

public slots:
    /// Shows the target's state.
    virtual void refresh();

protected:
    /// The editor is put above the line of errors.
    void setEditor(QWidget *editor);
    void setErrorText(const QString &text);
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    const FieldLabel m_label;
    const QPointer<FieldTarget> m_target;
    const QPointer<const ExpressionScope> m_scope;
    QVBoxLayout *m_column = nullptr;
    QLabel *m_error = nullptr;   ///< made when there is first something to say
    FieldMenu *m_menu = nullptr; ///< made when it is first asked for
};

} // namespace corvane::ui
