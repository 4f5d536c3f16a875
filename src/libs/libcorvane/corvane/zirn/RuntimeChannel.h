#pragma once

#include <QHash>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace corvane::zirn {

class PlanRun;
class ZirnTaskRuntime;

/// What a runtime and its plan threads share: what is told to the runtime, what is asked of it, and
/// the plans that run. It outlives the runtime if a plan does. Any thread.
///
/// Everything that is handed over goes through one mutex. It is a standard one, as is the
/// condition: race detectors see through these, and not through Qt's wait conditions.
class RuntimeChannel : public std::enable_shared_from_this<RuntimeChannel>
{
public:
    using Announcement = std::function<void(ZirnTaskRuntime &)>;

    /// Of progress that the runtime has not heard yet, more than this is merged.
    static constexpr int mostWaitingProgress = 64;

    explicit RuntimeChannel(ZirnTaskRuntime *runtime);

    /// From here on the runtime is told nothing. On the runtime's thread.
    void close();

    /// Has something done with the runtime on its thread, in the order of these calls.
    void announce(Announcement announcement);
    /// The same for a report that replaces an earlier one of the same step where many wait.
    void announceProgress(const PlanRun *source, int step, Announcement announcement);

    int openQuestion();
    /// True when the question is granted; false when it is not, when the time is up, and once
    /// `isAbandoned` holds, which is looked at after wakeQuestions(). Closes the question.
    bool awaitDecision(int id, std::chrono::milliseconds limit,
                       const std::function<bool()> &isAbandoned);
    void deliverDecision(int id, bool granted);
    void wakeQuestions();

    void addRun(const std::shared_ptr<PlanRun> &run);
    void removeRun(const PlanRun *run);
    std::vector<std::shared_ptr<PlanRun>> runs() const; ///< oldest first

private:
    struct Entry
    {
        Announcement announcement{};
        const PlanRun *progressSource = nullptr; ///< null for what is no progress
        int step = -1;
    };

    void push(Entry entry);
    void deliverNext();

    mutable std::mutex m_mutex; ///< of all below
    ZirnTaskRuntime *m_runtime = nullptr;
    std::deque<Entry> m_outbox;
    int m_waitingProgress = 0; ///< entries of m_outbox that are progress
    std::vector<std::shared_ptr<PlanRun>> m_runs;

    int m_nextDecisionId = 1;
    QHash<int, bool> m_decisions; ///< the answers, by open question
    QHash<int, bool> m_decided;   ///< whether there is one
    std::condition_variable m_decisionArrived;
};

} // namespace corvane::zirn
