#pragma once

#include <toast/ToastRecord.h>

#include <QFrame>

class QHBoxLayout;
class QLabel;
class QParallelAnimationGroup;

namespace toast {

/// One notice as a card: title, body, buttons for its actions, one to dismiss it, and how often it
/// came. All texts are shown as they are, never read as markup.
class NoticeWidget : public QFrame
{
    Q_OBJECT

public:
    /// @param id  of the record, which the signals carry; 0 for a notice without one
    explicit NoticeWidget(quint64 id, QWidget *parent = nullptr);

    void build(const ToastSpec &spec); ///< shows this; a second call replaces the first
    void setCount(int count);          ///< shown from 2 on

    /// Shrinks and fades, then closed(). A second call changes nothing.
    void animateOut();
    bool isLeaving() const { return m_leaving != nullptr; }

    quint64 id() const { return m_id; }
    Severity severity() const { return m_severity; }

signals:
    void bodyClicked(quint64 id);
    void dismissRequested(quint64 id);
    void closed(quint64 id);
    void hovered(bool on);
    void actionTriggered(const toast::ToastAction &action);

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void rebuildActions(const QList<ToastAction> &actions);

    const quint64 m_id;
    Severity m_severity = Severity::Info;
    QLabel *m_title = nullptr;
    QLabel *m_count = nullptr;
    QLabel *m_body = nullptr;
    QWidget *m_actions = nullptr;
    QHBoxLayout *m_actionRow = nullptr;
    QParallelAnimationGroup *m_leaving = nullptr;
};

} // namespace toast

Q_DECLARE_METATYPE(toast::ToastAction)
