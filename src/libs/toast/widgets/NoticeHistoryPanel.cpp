#include "NoticeHistoryPanel.h"

#include <toast/NoticeHistory.h>

#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <optional>

using namespace Qt::StringLiterals;

namespace toast {

namespace {

struct FilterRow
{
    std::optional<Severity> severity;
    const char *text; ///< %1 is the count
};

constexpr FilterRow filters[] = {
    {std::nullopt, QT_TRANSLATE_NOOP("toast::NoticeHistoryPanel", "All (%1)")},
    {Severity::Error, QT_TRANSLATE_NOOP("toast::NoticeHistoryPanel", "Errors (%1)")},
    {Severity::Warning, QT_TRANSLATE_NOOP("toast::NoticeHistoryPanel", "Warnings (%1)")},
    {Severity::Success, QT_TRANSLATE_NOOP("toast::NoticeHistoryPanel", "Successes (%1)")},
    {Severity::Info, QT_TRANSLATE_NOOP("toast::NoticeHistoryPanel", "Infos (%1)")},
};

QList<ToastRecord> filtered(QList<ToastRecord> records, const FilterRow &filter)
{
    if (filter.severity)
        records.removeIf(
            [&](const ToastRecord &record) { return record.severity != *filter.severity; });
    return records;
}

/// The colour of a severity beside the text: as the text's own it would be hard to read on white.
QIcon colorSign(Severity severity)
{
    constexpr QSize size(4, 16);
    QPixmap bar(size);
    bar.fill(QColor(borderColor(severity)));
    return bar;
}

} // namespace

NoticeHistoryPanel::NoticeHistoryPanel(ToastManager *manager, QWidget *parent)
    : QWidget(parent)
    , m_manager(manager)
    , m_filter(new QComboBox(this))
    , m_list(new QListWidget(this))
{
    setObjectName(u"noticeHistory"_s);
    for (const FilterRow &row : filters)
        m_filter->addItem(QString::fromLatin1(row.text));
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setWordWrap(true);

    auto *const buttons = new QHBoxLayout;
    const auto addButton = [&](const QString &text, void (NoticeHistoryPanel::*function)()) {
        auto *const button = new QPushButton(text, this);
        connect(button, &QPushButton::clicked, this, function);
        buttons->addWidget(button);
    };
    addButton(tr("Copy"), &NoticeHistoryPanel::copySelected);
    addButton(tr("Copy all"), &NoticeHistoryPanel::copyAll);
    addButton(tr("Save && copy"), &NoticeHistoryPanel::saveAndCopy);
    auto *const column = new QVBoxLayout(this);
    column->addWidget(m_filter);
    column->addWidget(m_list, 1);
    column->addLayout(buttons);

    connect(m_filter, &QComboBox::currentIndexChanged, this, &NoticeHistoryPanel::refresh);
    connect(manager, &ToastManager::historyChanged, this, &NoticeHistoryPanel::refresh);
    refresh();
}

QList<ToastRecord> NoticeHistoryPanel::shown() const
{
    return filtered(m_manager->records(), filters[qMax(0, m_filter->currentIndex())]);
}

void NoticeHistoryPanel::refreshFilter()
{
    const QSignalBlocker quiet(m_filter);
    const QList<ToastRecord> records = m_manager->records();
    for (int i = 0; i < m_filter->count(); ++i)
        m_filter->setItemText(i, tr(filters[i].text).arg(filtered(records, filters[i]).size()));
}

void NoticeHistoryPanel::refresh()
{
    refreshFilter();
    m_list->clear();
    const QList<ToastRecord> records = shown();
    for (const ToastRecord &record : records) {
        auto *const row = new QListWidgetItem(noticeText(record).trimmed(), m_list);
        row->setIcon(colorSign(record.severity));
    }
}

void NoticeHistoryPanel::copySelected()
{
    const QList<ToastRecord> records = shown();
    QList<ToastRecord> selected;
    for (int row = 0; row < m_list->count(); ++row)
        if (m_list->item(row)->isSelected())
            selected.append(records.at(row));
    if (!selected.isEmpty())
        QGuiApplication::clipboard()->setText(historyText(selected));
}

void NoticeHistoryPanel::copyAll()
{
    QGuiApplication::clipboard()->setText(historyText(shown()));
}

void NoticeHistoryPanel::saveAndCopy()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    const SavedHistory saved = saveHistory(shown(), desktop);
    if (!saved.error.isEmpty()) {
        m_manager->notify({.severity = Severity::Error,
                           .title = tr("Notifications not saved"),
                           .body = saved.error});
        return;
    }
    QGuiApplication::clipboard()->setText(saved.path);
    m_manager->notify({.severity = Severity::Success,
                       .title = tr("Notifications saved"),
                       .body = tr("Path copied to clipboard:\n%1").arg(saved.path)});
}

} // namespace toast
