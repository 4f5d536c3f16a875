#pragma once

#include <QObject>
#include <QSet>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace corvane::zirn {

/// A named resource that at most `capacity` plans hold at a time, each of them once. Any thread.
class ZirnResourceSemaphore : public QObject
{
    Q_OBJECT

public:
    /// @param capacity  at least 1; less is taken as 1
    ZirnResourceSemaphore(QString name, qint32 capacity, QObject *parent = nullptr);

    QString name() const { return m_name; }
    qint32 capacity() const { return m_capacity; }
    QSet<QString> holders() const;

    /// Succeeds without waiting, or not at all. A plan that holds the resource has it already.
    [[nodiscard]] bool tryAcquire(const QString &planId);
    /// Waits for it, no longer than `limit`. Never on the main thread.
    [[nodiscard]] bool acquire(const QString &planId, std::chrono::milliseconds limit);
    /// Gives it back, and wakes one that waits; nothing for a plan that does not hold it.
    void release(const QString &planId);

private:
    bool takePlace(const QString &planId);

    const QString m_name;
    const qint32 m_capacity;
    mutable std::mutex m_mutex; ///< of m_holders
    std::condition_variable m_released;
    QSet<QString> m_holders;
};

} // namespace corvane::zirn
