#pragma once

#include <corvane/ui/fields/FieldWidget.h>
#include <corvane/ui/fields/NumberSpec.h>

namespace corvane::ui {

class NumberField;

/// Two to four numbers in a row, "X", "Y", "Z", "W".
class VectorField : public FieldWidget
{
    Q_OBJECT

public:
    /// @param spec  of each component
    VectorField(const NumberSpec &spec, int count, FieldTarget *target,
                const ExpressionScope *scope, QWidget *parent = nullptr);

    QList<NumberField *> fields() const { return m_fields; }
    QWidget *editor() const override;
    QString copyText() const override; ///< "1, 2, 3", or "=" and the expression of all
    bool paste(const QString &text) override;
    expr::ExprType type() const override;

private:
    QList<NumberField *> m_fields;
};

} // namespace corvane::ui
