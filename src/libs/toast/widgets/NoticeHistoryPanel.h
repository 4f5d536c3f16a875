#pragma once

#include <toast/ToastManager.h>

#include <QWidget>

class QComboBox;
class QListWidget;

namespace toast {

/// The history of notices, newest first, by severity or all, to be copied or saved as text.
class NoticeHistoryPanel : public QWidget
{
    Q_OBJECT

public:
    /// @param manager  outlives the panel
    explicit NoticeHistoryPanel(ToastManager *manager = &ToastManager::instance(),
                                QWidget *parent = nullptr);

    void copySelected(); ///< to the clipboard; nothing when none is selected
    void copyAll();      ///< all that the filter shows
    /// Writes what the filter shows to the user's Desktop and copies the path of the file. A notice
    /// says how that went.
    void saveAndCopy();

private:
    void refresh();
    void refreshFilter();
    QList<ToastRecord> shown() const;

    ToastManager *const m_manager;
    QComboBox *m_filter = nullptr;
    QListWidget *m_list = nullptr;
};

} // namespace toast
