#pragma once

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>

namespace corvane::model {
class Corvane;
} // namespace corvane::model

namespace corvane::expr {

struct ExprModel;

/// An expression that gives no value, and what stands in for one.
struct ExpressionFailure
{
    QUuid instanceId{};   ///< null for a variable
    QString name{};       ///< of the parameter or the variable
    QString expression{}; ///< the text, without "="
    QString message{};    ///< why; empty for what is in `cycle`, or reads it
    QStringList cycle{};  ///< "a", "part.radius": each reads the next, the last one the first
    QVariant value{};     ///< that is used instead; invalid where there is none
};

/// What the evaluation of a model's expressions came to where it gave no value, and the report of
/// all that fails: what does not compile, what does not evaluate, and what reads itself in a
/// circle.
///
/// A plain value. Of a scene the stored values and the names of items are told; it may be none.
class ExpressionFailures
{
public:
    void clear();
    void setError(const QString &node, const QString &message) { m_errors.insert(node, message); }
    void removeError(const QString &node) { m_errors.remove(node); }
    /// Forgets the errors of nodes that are no expressions of the model any more.
    void removeErrorsBeside(const ExprModel &model);
    /// Whether a variable's value is one that no file could hold, so that it keeps its own.
    void setUnstored(const QString &variable, bool isUnstored);

    /// A line each, with the variable or parameter that it concerns.
    QStringList texts(const ExprModel &model, const model::Corvane *scene) const;
    /// The same, a record each. Of a cycle there is one for its first member and one for each
    /// expression that reads it from outside, with no cycle then.
    QList<ExpressionFailure> records(const ExprModel &model, const model::Corvane *scene) const;
    /// All nodes that keep a value which their expressions do not give, in order.
    QStringList nodes(const ExprModel &model) const;

private:
    QMap<QString, QString> m_errors; ///< of the evaluation, by node
    QSet<QString> m_unstored;
};

/// The value that a scene has for a variable or a parameter with an expression; invalid where it
/// has neither.
QVariant storedValue(const model::Corvane &scene, const QString &node);

} // namespace corvane::expr
