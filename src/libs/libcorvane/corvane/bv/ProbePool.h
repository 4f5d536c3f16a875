#pragma once

#include <corvane/bv/BoundsDetector.h>

#include <concurrency/parallelFor.h>

#include <atomic>

namespace corvane::bv {

/// Runs numbered probes over evaluators: on the caller's alone, or split by stride over several
/// threads with one evaluator each. Probes write to slots of their own number, so that the outcome
/// is the same either way.
class ProbePool
{
public:
    ProbePool(eval::IFieldEvaluator &own, const BoundsDetector::Config &config)
        : m_own(own)
        , m_factory(config.evaluatorFactory)
        , m_threads(config.evaluatorFactory ? std::max(config.threads, 1) : 1)
    {}

    /// @param probe  called as probe(number, evaluator, samples), `samples` being raised by its
    /// evaluations
    template<class Probe>
    void run(int count, const Probe &probe)
    {
        const int tasks = std::min(m_threads, count);
        if (tasks <= 1) {
            qint64 samples = 0;
            for (int i = 0; i < count; ++i)
                probe(i, m_own, samples);
            m_samples += samples;
            return;
        }
        concurrency::parallelFor(tasks, tasks, [&](qsizetype task) {
            const auto evaluator = m_factory();
            if (!evaluator || !evaluator->isValid())
                return;
            qint64 samples = 0;
            for (int i = int(task); i < count; i += tasks)
                probe(i, *evaluator, samples);
            m_samples.fetch_add(samples, std::memory_order_relaxed);
        });
    }

    qint64 samples() const { return m_samples.load(std::memory_order_relaxed); }

private:
    eval::IFieldEvaluator &m_own;
    const std::function<std::unique_ptr<eval::IFieldEvaluator>()> &m_factory;
    int m_threads;
    std::atomic<qint64> m_samples = 0;
};

} // namespace corvane::bv
