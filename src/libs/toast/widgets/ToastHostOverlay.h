#pragma once

#include <toast/ToastManager.h>

#include <QHash>
#include <QMargins>
#include <QTimer>
#include <QWidget>

class QVBoxLayout;

namespace toast {

class NoticeWidget;

/// Shows passing notices as cards in the top right corner of a widget, the newest on top. It covers
/// no more of the widget than its cards do, and follows its size.
///
/// A warning goes after nine seconds, an info or a success after five, each counted from its last
/// coming, and not while the mouse is on it; an error stays until it is dismissed. What goes by
/// itself stays in the history.
class ToastHostOverlay : public QWidget
{
    Q_OBJECT

public:
    static constexpr int cardWidth = 320;
    /// Cards at once; older ones come back into view when newer ones go.
    static constexpr int mostShown = 6;

    /// @param manager  outlives the overlay
    explicit ToastHostOverlay(QWidget *viewport, ToastManager *manager = &ToastManager::instance());
    ~ToastHostOverlay() override;

    /// Room to leave free at the viewport's edges, for what else lies on it.
    void setInset(const QMargins &inset);

    NoticeWidget *card(quint64 id) const; ///< null when none is shown for it
    /// Milliseconds after which the card goes by itself; -1 while it stays.
    int dwellMs(quint64 id) const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Shown
    {
        NoticeWidget *card = nullptr;
        QTimer *dwell = nullptr; ///< the card's child
    };

    void show(const ToastRecord &record);
    NoticeWidget *makeCard(const ToastRecord &record);
    void startDwell(quint64 id, Severity severity);
    void leave(quint64 id);
    void arrange();

    ToastManager *const m_manager;
    QMargins m_inset;
    QVBoxLayout *m_column = nullptr;
    QHash<quint64, Shown> m_shown;
    QTimer m_expiry{this};
};

} // namespace toast
