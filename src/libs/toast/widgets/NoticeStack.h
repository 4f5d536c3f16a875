#pragma once

#include <toast/ToastRecord.h>

#include <QWidget>

namespace toast {

class NoticeWidget;

/// A notice inside of a dialog, in the place of the layout that it is given: it takes no room while
/// there is nothing to say, and stays until the user or the dialog takes it away.
class NoticeStack : public QWidget
{
    Q_OBJECT

public:
    explicit NoticeStack(QWidget *parent = nullptr);

    /// Shows a notice in place of the one before.
    void setNotice(Severity severity, const QString &title, const QString &body = {});
    void clear();
    bool hasNotice() const { return m_card != nullptr; }

private:
    NoticeWidget *m_card = nullptr;
};

} // namespace toast
