#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

namespace corvane::ui {

/// What a field shows.
struct FieldState
{
    QVariant value{};       ///< the present one, of an expression too; invalid for none
    QString expression{};   ///< without "="; empty for a literal
    QString failure{};      ///< why the expression gives no value, in the compiler's words
    bool isMixed = false;   ///< several things are edited, and they differ
    bool isChanged = false; ///< another value than the default
    bool isReadOnly = false;

    bool isBound() const { return !expression.isEmpty(); }
    bool operator==(const FieldState &) const = default;
};

/// What a field edits: where the value lives, and how it is changed with undo. Fields know nothing
/// of scenes, and targets nothing of widgets. Main thread.
class FieldTarget : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual FieldState state() const = 0;

    /// Stores a literal, or a model::ParameterValue of an expression; one undo step. False when the
    /// scene refuses.
    virtual bool write(const QVariant &stored) = 0;
    /// Back to the default; one undo step. False where there is none.
    virtual bool reset() { return false; }

    /// All that is written from here on becomes one undo step, and a cancelled drag leaves none.
    /// Writes show at once.
    virtual void beginDrag(const QString &label);
    virtual void endDrag() {}
    virtual void cancelDrag() {}

    /// Makes a variable of the present value, with the field's unit and range, and binds the field
    /// to it; one undo step. Answers what is wrong, in words for the user; empty when it is done.
    virtual QString makeVariable(const QString &name);
    virtual bool canBeBound() const { return false; } ///< to variables and expressions

signals:
    void changed(); ///< the state may be another one
};

} // namespace corvane::ui
