#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace corvane::lifecycle {

/// Sequences what happens when a scene comes and goes. Every change of the open scene is one
/// transition: all teardown steps, a check that nothing of the old scene is left, then the load
/// steps of the new one.
///
///     Idle -> TearingDown -> Loading -> Idle, all within one call of transition()
///
/// A teardown step that fails does not stop the others, so that as much as possible is let go; a
/// load step that fails ends the load, and leaves an empty scene. Main thread.
class SceneLifecycle : public QObject
{
    Q_OBJECT

public:
    enum class Phase { Idle = 0, TearingDown = 1, Loading = 2 };
    Q_ENUM(Phase)

    struct NamedStep
    {
        QString name{};
        std::function<bool(QString *error)> run{};
    };
    struct StepResult
    {
        QString name{};
        bool ok = false;
        QString error{};
        qint64 elapsedMs = 0;
    };
    struct TransitionReport
    {
        bool started = false;
        bool teardownOk = false; ///< it ran to its end; what failed on the way is in the steps
        bool loadOk = false;
        QList<StepResult> teardownSteps{};
        QList<StepResult> loadSteps{}; ///< those that ran
        QStringList violations{};      ///< what was left of the old scene
        QString failedStep{};          ///< of the load; empty when all went well

        bool isClean() const { return started && teardownOk && loadOk && violations.isEmpty(); }
    };
    using InvariantCheck = std::function<QStringList()>;

    using QObject::QObject;

    /// Steps run in the order in which they are added.
    void addTeardownStep(const QString &name, const std::function<bool(QString *error)> &run);
    /// Says in words what is left of the old scene after the teardown.
    void setInvariantCheck(const InvariantCheck &check) { m_check = check; }

    Phase phase() const { return m_phase; }
    const TransitionReport &lastReport() const { return m_lastReport; }

    /// Takes the old scene down and loads another. Transitions do not nest: one that is asked for
    /// by a step of another is refused, logged, and not started.
    TransitionReport transition(const QString &teardownText, const QString &loadText,
                                const QList<NamedStep> &loadSteps);

signals:
    void phaseChanged(corvane::lifecycle::SceneLifecycle::Phase phase, const QString &text);
    void stepStarted(corvane::lifecycle::SceneLifecycle::Phase phase, const QString &name,
                     int index, int count);
    void transitionFinished(bool ok);

private:
    void setPhase(Phase phase, const QString &text);
    StepResult run(const NamedStep &step, int index, int count);
    void tearDown(TransitionReport &report);
    void checkInvariants(TransitionReport &report) const;
    void load(const QList<NamedStep> &steps, TransitionReport &report);

    QList<NamedStep> m_teardownSteps;
    InvariantCheck m_check;
    Phase m_phase = Phase::Idle;
    TransitionReport m_lastReport;
};

} // namespace corvane::lifecycle
