#pragma once

#include <corvane/lifecycle/RecoveryStore.h>

#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <memory>

namespace corvane::lifecycle {

/// Copies unsaved work now and then: after 30 s without an edit, and after 120 s of editing in any
/// case. What is written, and how it is called, comes from a source; the text of it is made and
/// written on a thread of its own. Main thread.
class RecoveryKeeper : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds usualQuiet{30};
    static constexpr std::chrono::seconds usualLongest{120};

    /// The work as it is now.
    struct Work
    {
        RecoveryRecord record{}; ///< without id and paths of the copy
        QVariantMap file{};      ///< of the scene; empty for a scene that can't be written
    };
    /// Nothing is copied while it answers an empty file.
    using Source = std::function<Work()>;

    RecoveryKeeper(const QString &folder, const Source &source, QObject *parent = nullptr);
    ~RecoveryKeeper() override; ///< waits for a copy that is being written

    void setIntervals(std::chrono::milliseconds quiet, std::chrono::milliseconds longest);

    /// To be called at each edit.
    void edited();
    /// The work is saved, or given up by its owner: no copy is needed.
    void forget();
    /// Before something that may go wrong: copies at once, and waits.
    void copyNow();
    /// Waits for a copy that is being written.
    void finish();

    RecoveryStore &store() { return *m_store; }

signals:
    void copied();
    void failed(const QString &error);

private:
    void startCopy();
    void write(const Work &work);

    const Source m_source;
    const std::shared_ptr<RecoveryStore> m_store;
    QTimer m_quiet{this};
    QTimer m_longest{this};
    QThreadPool m_pool; ///< one thread: copies come one behind the other
};

} // namespace corvane::lifecycle
