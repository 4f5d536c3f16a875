#pragma once

#include <corvane/ui/variables/VariableList.h>

#include <QFrame>

class QLabel;
class QLineEdit;

namespace corvane::ui {

/// Range, step, unit and description of a variable, in a sheet below its row. "Apply" is one step
/// of undo; a range that is none is refused, and the sheet stays.
class VariableEditor : public QFrame
{
    Q_OBJECT

public:
    VariableEditor(const VariableRow &row, VariableList *list, QWidget *below);

private:
    QLineEdit *addLine(const QString &label, const QString &text);
    void apply();
    bool read(QLineEdit *line, QVariant &value);
    void refuse(const QString &why);

    const VariableRow m_row;
    VariableList *const m_list;
    QLineEdit *m_unit = nullptr;
    QLineEdit *m_minimum = nullptr;
    QLineEdit *m_maximum = nullptr;
    QLineEdit *m_step = nullptr;
    QLineEdit *m_description = nullptr;
    QLabel *m_error = nullptr;
};

} // namespace corvane::ui
