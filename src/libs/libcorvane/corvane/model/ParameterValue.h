#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>

namespace corvane::model {

/// The value of one parameter: a literal, or an expression with the value that it had when last
/// evaluated.
///
/// Stored parameters are QVariants that hold a ParameterValue or a plain value; fromVariant() takes
/// both.
struct ParameterValue
{
    enum Kind { Literal = 0, Expression = 1 };

    Kind kind = Literal;
    QVariant literal{};
    QString expression{}; ///< the text with no prefix
    QVariant fallback{};  ///< value of an expression until it is evaluated, then its result

    static ParameterValue fromLiteral(const QVariant &value);
    static ParameterValue fromExpression(const QString &text, const QVariant &fallback = {});
    /// Reads what a file or an editor holds. In order: a ParameterValue; a map with "expr" (and
    /// "fallback"); a map with "value"; a string that begins with "=" or "$" (an expression, less
    /// that character); anything else is a literal.
    static ParameterValue fromVariant(const QVariant &stored);

    bool isExpression() const { return kind == Expression; }
    /// The literal, or the fallback of an expression.
    QVariant value() const { return isExpression() ? fallback : literal; }
    /// {value: v} or {expr: text, fallback: v}; "fallback" only when there is one.
    QVariantMap toVariantMap() const;

    bool operator==(const ParameterValue &) const = default;
};

/// The literal value of a stored parameter; invalid for an expression.
QVariant plainParamValue(const QVariant &stored);

/// A stored parameter as files hold it, whatever form it is stored in: a literal as its bare plain
/// value where that reads back as itself, else {value: v}; an expression as {expr: text, fallback:
/// v}. Applying it again changes nothing.
QVariant parameterForFile(const QVariant &stored);

} // namespace corvane::model

Q_DECLARE_METATYPE(corvane::model::ParameterValue)
