#include "ToastManager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLoggingCategory>
#include <QThread>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcToast, "ondrel.toast.notices")

namespace toast {

namespace {

void logNotice(const ToastSpec &spec)
{
    const QString line = u"[toast] "_s + plainText(spec.title, spec.body);
    switch (spec.severity) {
    case Severity::Info:
    case Severity::Success:
        qCInfo(lcToast).noquote() << line;
        break;
    case Severity::Warning:
        qCWarning(lcToast).noquote() << line;
        break;
    case Severity::Error:
        qCCritical(lcToast).noquote() << line;
        break;
    }
}

ToastManager *makeInstance()
{
    auto *const manager = new ToastManager;
    // The first notice may come from a worker; what shows notices lives on the main thread.
    if (const auto *const application = QCoreApplication::instance())
        manager->moveToThread(application->thread());
    return manager;
}

} // namespace

ToastManager &ToastManager::instance()
{
    // Never destroyed: threads may still report to it while the process ends.
    static ToastManager *const manager = makeInstance();
    return *manager;
}

ToastManager::ToastManager(QObject *parent)
    : ToastManager(&QDateTime::currentMSecsSinceEpoch, parent)
{}

ToastManager::ToastManager(Clock clock, QObject *parent)
    : QObject(parent)
    , m_clock(std::move(clock))
{
    qRegisterMetaType<ToastRecord>();
}

void ToastManager::notify(const ToastSpec &spec)
{
    logNotice(spec);
    if (QThread::currentThread() == thread())
        add(spec);
    else
        QMetaObject::invokeMethod(
            this, [this, spec] { add(spec); }, Qt::QueuedConnection);
}

void ToastManager::add(const ToastSpec &spec)
{
    if (countAgain(spec))
        return;
    const ToastRecord record{.id = m_nextId++,
                             .severity = spec.severity,
                             .title = spec.title,
                             .body = spec.body,
                             .actions = spec.actions,
                             .timestamp = m_clock()};
    m_records.prepend(record);
    emit toastAdded(record);
    forgetOldest();
    emit historyChanged();
}

bool ToastManager::countAgain(const ToastSpec &spec)
{
    const auto same = std::find_if(m_records.begin(), m_records.end(), [&](const ToastRecord &r) {
        return !r.dismissed && r.severity == spec.severity && r.title == spec.title &&
               r.body == spec.body;
    });
    if (same == m_records.end())
        return false;
    ++same->count;
    same->timestamp = m_clock();
    std::rotate(m_records.begin(), same, same + 1);
    const ToastRecord record = m_records.constFirst();
    emit toastUpdated(record);
    emit historyChanged();
    return true;
}

void ToastManager::forgetOldest()
{
    while (m_records.size() > mostRecords) {
        const ToastRecord oldest = m_records.takeLast();
        if (!oldest.dismissed)
            emit toastRemoved(oldest.id);
    }
}

qsizetype ToastManager::undismissedCount() const
{
    return std::count_if(m_records.begin(), m_records.end(),
                         [](const ToastRecord &record) { return !record.dismissed; });
}

void ToastManager::dismiss(quint64 id)
{
    const auto record = std::find_if(m_records.begin(), m_records.end(),
                                     [&](const ToastRecord &r) { return r.id == id; });
    if (record == m_records.end() || record->dismissed)
        return;
    record->dismissed = true;
    emit toastRemoved(id);
    emit historyChanged();
}

void ToastManager::purgeExpired()
{
    const qint64 now = m_clock();
    QList<quint64> expired;
    for (auto record = m_records.rbegin(); record != m_records.rend(); ++record) {
        if (record->dismissed || now - record->timestamp < expiryMs)
            continue;
        record->dismissed = true;
        expired.append(record->id);
    }
    for (const quint64 id : std::as_const(expired))
        emit toastRemoved(id);
    if (!expired.isEmpty())
        emit historyChanged();
}

void ToastManager::setHistoryOpen(bool open)
{
    if (m_historyOpen == open)
        return;
    m_historyOpen = open;
    emit historyOpenChanged(open);
}

void notify(Severity severity, const QString &title, const QString &body,
            const QList<ToastAction> &actions)
{
    ToastManager::instance().notify({severity, title, body, actions});
}

void error(const QString &title, const QString &body, const QList<ToastAction> &actions)
{
    notify(Severity::Error, title, body, actions);
}

void warning(const QString &title, const QString &body, const QList<ToastAction> &actions)
{
    notify(Severity::Warning, title, body, actions);
}

void success(const QString &title, const QString &body, const QList<ToastAction> &actions)
{
    notify(Severity::Success, title, body, actions);
}

void info(const QString &title, const QString &body, const QList<ToastAction> &actions)
{
    notify(Severity::Info, title, body, actions);
}

} // namespace toast
