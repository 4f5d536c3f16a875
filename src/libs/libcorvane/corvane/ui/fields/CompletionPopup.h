#pragma once

#include <corvane/ui/fields/ExpressionScope.h>

#include <QListWidget>
#include <QPointer>

class QLineEdit;

namespace corvane::ui {

/// The list of names below a line edit while an expression is typed into it. The keyboard stays
/// with the edit: arrows choose, Tab or Enter puts the name in, Escape closes the list.
class CompletionPopup : public QListWidget
{
    Q_OBJECT

public:
    CompletionPopup(QLineEdit *edit, const ExpressionScope *scope);

    /// Shows what fits the name before the cursor; hides where nothing does.
    /// @param isAsked  also without a letter typed
    void offer(bool isAsked);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool takeKey(int key);
    void putIn();
    void place();

    QLineEdit *const m_edit;
    const QPointer<const ExpressionScope> m_scope;
};

} // namespace corvane::ui
