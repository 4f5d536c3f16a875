#pragma once

#include <corvane/ui/fields/ExpressionScope.h>
#include <corvane/ui/fields/FieldTarget.h>
#include <corvane/ui/fields/NumberSpec.h>

#include <QPointer>

namespace corvane::ui {

/// A number field without its widget: what typing, stepping and dragging do to a target.
///
/// What can't be taken changes nothing and leaves a sentence in error(): a text that is no number,
/// a value out of its range, an expression that does not compile. Main thread.
class NumberController : public QObject
{
    Q_OBJECT

public:
    /// Neither is owned.
    NumberController(const NumberSpec &spec, FieldTarget *target, const ExpressionScope *scope,
                     QObject *parent = nullptr);

    const NumberSpec &spec() const { return m_spec; }
    FieldTarget *target() const { return m_target; }
    const ExpressionScope *scope() const { return m_scope; }
    FieldState state() const;
    double value() const; ///< 0 where there is none

    /// The number, or "=" and the expression; empty for several that differ.
    QString text() const;
    /// What is wrong: with the last text, else with the expression that is in force.
    QString error() const;
    int errorPosition() const { return m_errorPosition; } ///< in the text; -1 for all of it

    /// Takes a text: a number, arithmetic, or "=" and an expression. True when it is taken; an
    /// unchanged one is taken without a step of undo.
    bool submit(const QString &text);
    void clearError(); ///< of the last text

    /// How far a step or a drag goes.
    enum class Pace { Fine, Normal, Coarse };            ///< a tenth, one, ten times
    static Pace paceOf(Qt::KeyboardModifiers modifiers); ///< Alt is fine, Shift is coarse
    /// Whether there is a number that steps and drags can change: no expression.
    bool canSlide() const;
    bool step(int steps, Pace pace);

    /// A drag writes at each move, and is one step of undo; cancelled, it leaves none.
    bool beginDrag();
    void dragTo(double pixels, Pace pace); ///< since the last change of pace or the beginning
    void endDrag();
    void cancelDrag();
    bool isDragging() const { return m_isDragging; }

signals:
    void changed();

private:
    bool submitExpression(const QString &expression);
    bool submitNumber(const QString &text);
    bool refuse(const QString &error, int position = -1);
    bool store(double value);

    const NumberSpec m_spec;
    const QPointer<FieldTarget> m_target;
    const QPointer<const ExpressionScope> m_scope;
    QString m_error;
    int m_errorPosition = -1;
    bool m_isDragging = false;
    double m_dragStart = 0.0;  ///< value where the present pace began
    double m_dragOrigin = 0.0; ///< pixels there
    double m_dragPixels = 0.0;
    Pace m_dragPace = Pace::Normal;
};

} // namespace corvane::ui
