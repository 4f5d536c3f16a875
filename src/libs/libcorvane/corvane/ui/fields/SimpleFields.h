#pragma once

#include <corvane/ui/fields/FieldWidget.h>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

namespace corvane::ui {

/// Yes or no.
class BoolField : public FieldWidget
{
    Q_OBJECT

public:
    BoolField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
              QWidget *parent = nullptr);

    QWidget *editor() const override;
    QString copyText() const override;
    bool paste(const QString &text) override;
    expr::ExprType type() const override { return expr::ExprType::Bool; }

public slots:
    void refresh() override;

private:
    QCheckBox *const m_box;
};

/// A line of text, taken at Enter or when the field is left.
class TextField : public FieldWidget
{
    Q_OBJECT

public:
    TextField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
              QWidget *parent = nullptr);

    QWidget *editor() const override;
    QString copyText() const override;
    bool paste(const QString &text) override;
    expr::ExprType type() const override { return expr::ExprType::String; }

public slots:
    void refresh() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void commit();

    QLineEdit *const m_edit;
};

/// One of several, each with the value that it stands for.
class ChoiceField : public FieldWidget
{
    Q_OBJECT

public:
    struct Choice
    {
        QString text{};
        QVariant value{};
    };

    ChoiceField(const FieldLabel &label, const QList<Choice> &choices, FieldTarget *target,
                const ExpressionScope *scope, QWidget *parent = nullptr);

    QWidget *editor() const override;
    QString copyText() const override;
    bool paste(const QString &text) override;
    expr::ExprType type() const override { return expr::ExprType::String; }

public slots:
    void refresh() override;

private:
    const QList<Choice> m_choices;
    QComboBox *const m_box;
};

/// A colour, as a list of three or four numbers from 0 to 1. The button shows it and opens the
/// desktop's dialog; "#rrggbb" can be pasted.
class ColorField : public FieldWidget
{
    Q_OBJECT

public:
    ColorField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
               QWidget *parent = nullptr);

    QColor color() const;
    bool setColor(const QColor &color);

    QWidget *editor() const override;
    QString copyText() const override;
    bool paste(const QString &text) override;
    expr::ExprType type() const override { return expr::ExprType::Vec3; }

public slots:
    void refresh() override;

private:
    void choose();

    QPushButton *const m_button;
};

} // namespace corvane::ui
