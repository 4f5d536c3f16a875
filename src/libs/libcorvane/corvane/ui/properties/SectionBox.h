#pragma once

#include <QWidget>

class QBoxLayout;
class QToolButton;
class QVBoxLayout;

namespace corvane::ui {

class FieldWidget;
class NumberField;

/// A part of a panel under a heading, which folds it away. Rows are a label and a field; with
/// little room the field stands below its label.
class SectionBox : public QWidget
{
    Q_OBJECT

public:
    explicit SectionBox(const QString &title, QWidget *parent = nullptr);

    QString title() const;
    bool isFolded() const;
    void setFolded(bool folded);
    QList<FieldWidget *> fields() const { return m_fields; }

    /// The field becomes the box's. The label of a number scrubs it.
    void addField(FieldWidget *field);
    void addWidget(QWidget *widget);
    /// A button at the right of the heading.
    void addHeadButton(QToolButton *button);

signals:
    void folded(bool on);

private:
    QToolButton *m_head = nullptr;
    QBoxLayout *m_headRow = nullptr;
    QWidget *m_body = nullptr;
    QVBoxLayout *m_rows = nullptr;
    QList<FieldWidget *> m_fields;
};

} // namespace corvane::ui
