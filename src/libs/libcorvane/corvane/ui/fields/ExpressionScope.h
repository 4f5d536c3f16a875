#pragma once

#include <corvane/expr/CompiledExpression.h>
#include <corvane/expr/ExpressionManager.h>

#include <QObject>
#include <QPointer>

namespace corvane::ui {

/// What an expression came to.
struct Computed
{
    QVariant value{}; ///< invalid with an error
    expr::ExprType type = expr::ExprType::Unknown;
    QString error{};   ///< in the words of the compiler
    int position = -1; ///< character of the text that it is about; -1 for the whole

    bool isOk() const { return error.isEmpty(); }
};

/// One entry of a completion list.
struct CompletionEntry
{
    enum class Kind { Variable, Parameter, Function, Constant };

    QString text{};   ///< what is put in
    QString detail{}; ///< its type, or a function's arguments
    Kind kind = Kind::Variable;

    bool operator==(const CompletionEntry &) const = default;
};

/// The names that what is typed into a field can read, and what it comes to. Without a scene there
/// are the constants and functions only. Main thread.
class ExpressionScope : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Not owned; null between two scenes.
    void setManager(expr::ExpressionManager *manager);
    expr::ExpressionManager *manager() const { return m_manager; }

    /// Compiles an expression and evaluates it.
    Computed compute(const QString &text) const;
    /// The same for arithmetic that is typed in place of a number: "1/3" is a third, though in the
    /// field language it is the whole part of that.
    Computed computeNumber(const QString &text) const;

    /// What may stand where `prefix` begins, those that begin with it first, case aside; at most
    /// so many.
    QList<CompletionEntry> completions(const QString &prefix, int most = 50) const;
    /// The variables of a type; whole and fractional numbers count as one. In the scene's order.
    QStringList variablesOfType(expr::ExprType type) const;

private:
    QPointer<expr::ExpressionManager> m_manager;
};

/// The name, with its dots, that ends at a place of a text: what a completion replaces.
QString nameBefore(const QString &text, int position);

} // namespace corvane::ui
