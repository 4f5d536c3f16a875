#pragma once

#include <QLineEdit>
#include <QString>

namespace corvane::ui {

/// The line of a number field: beside what is typed it shows the unit, the present value of an
/// expression, and a wave under a part that fails.
class NumberEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit NumberEdit(QWidget *parent = nullptr);

    void setUnit(const QString &unit);
    /// Shown at the right, dimmed, while the field is not typed into.
    void setHint(const QString &hint);
    QString hint() const { return m_hint; }
    /// A wave under the text, from a character to its end; -1 for none.
    void setFailure(int fromPosition);
    bool isFailing() const { return m_failsFrom >= 0; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    QString shownHint() const;
    void makeRoom();
    void paintWave(QPainter &painter) const;

    QString m_unit;
    QString m_hint;
    int m_failsFrom = -1;
};

} // namespace corvane::ui
