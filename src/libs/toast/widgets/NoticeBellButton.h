#pragma once

#include <toast/ToastManager.h>

#include <QToolButton>

namespace toast {

/// The bell of the toolbar: opens and closes the history, and shows how many notices nobody has
/// dismissed.
class NoticeBellButton : public QToolButton
{
    Q_OBJECT

public:
    /// @param manager  outlives the button
    explicit NoticeBellButton(ToastManager *manager = &ToastManager::instance(),
                              QWidget *parent = nullptr);

    void refresh();
    QString badge() const { return m_badge; } ///< empty for none, "99+" for more than that

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    ToastManager *const m_manager;
    QString m_badge;
};

} // namespace toast
