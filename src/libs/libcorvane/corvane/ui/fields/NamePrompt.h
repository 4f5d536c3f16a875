#pragma once

#include <QFrame>
#include <QString>

#include <functional>

class QLabel;
class QLineEdit;

namespace corvane::ui {

/// Asks for a name, in a line below a widget. Enter takes it, Escape and a click elsewhere give it
/// up; what is wrong with a name stands below it, and the line stays.
class NamePrompt : public QFrame
{
    Q_OBJECT

public:
    /// Answers what is wrong with the name; empty when it is taken.
    using Take = std::function<QString(const QString &name)>;

    NamePrompt(const QString &question, const QString &suggestion, const Take &take,
               QWidget *below);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void submit();

    const Take m_take;
    QLineEdit *m_edit = nullptr;
    QLabel *m_error = nullptr;
};

} // namespace corvane::ui
