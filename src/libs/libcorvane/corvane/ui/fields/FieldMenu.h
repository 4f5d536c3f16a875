#pragma once

#include <corvane/expr/ExprType.h>
#include <corvane/ui/fields/ExpressionScope.h>
#include <corvane/ui/fields/FieldTarget.h>

#include <QPointer>

class QMenu;
class QWidget;

namespace corvane::ui {

/// What every field offers in its context menu: Reset, Copy, Paste, Make a variable of it..., and
/// Bind to.
class FieldMenu : public QObject
{
    Q_OBJECT

public:
    /// What the menu is of.
    struct Subject
    {
        QPointer<FieldTarget> target{};
        QPointer<const ExpressionScope> scope{};
        expr::ExprType type = expr::ExprType::Float;
        QString suggestedName{}; ///< of a variable that is made of it
        std::function<QString()> copyText{};
        std::function<bool(const QString &text)> paste{};
    };

    FieldMenu(const Subject &subject, QWidget *field);

    /// Deletes itself when it closes.
    QMenu *make();
    /// Asks for a name below the field, and makes the variable.
    void askForVariable();

private:
    void addBindings(QMenu &menu);
    void bindTo(const QString &variable);

    const Subject m_subject;
    QWidget *const m_field;
};

/// A name as variables have it, of a text for people: "Pitch diameter" is "pitch_diameter". Never
/// empty, and not one of `taken`.
QString variableNameFor(const QString &text, const QStringList &taken);

} // namespace corvane::ui
