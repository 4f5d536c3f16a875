#include <corvane/lifecycle/SceneLifecycle.h>

#include <corvane/lifecycle/Logging.h>

#include <QElapsedTimer>

namespace corvane::lifecycle {

Q_LOGGING_CATEGORY(lcLifecycle, "ondrel.lifecycle", QtWarningMsg)

void SceneLifecycle::addTeardownStep(const QString &name,
                                     const std::function<bool(QString *error)> &run)
{
    m_teardownSteps.append({name, run});
}

SceneLifecycle::TransitionReport SceneLifecycle::transition(const QString &teardownText,
                                                            const QString &loadText,
                                                            const QList<NamedStep> &loadSteps)
{
    if (m_phase != Phase::Idle) {
        qCWarning(lcLifecycle) << "SceneLifecycle: transition rejected — phase" << int(m_phase)
                               << "already in progress";
        return {};
    }
    TransitionReport report{.started = true};
    setPhase(Phase::TearingDown, teardownText);
    tearDown(report);
    checkInvariants(report);
    setPhase(Phase::Loading, loadText);
    load(loadSteps, report);
    setPhase(Phase::Idle, {});
    m_lastReport = report;
    emit transitionFinished(report.isClean());
    return report;
}

void SceneLifecycle::setPhase(Phase phase, const QString &text)
{
    m_phase = phase;
    emit phaseChanged(phase, text);
}

SceneLifecycle::StepResult SceneLifecycle::run(const NamedStep &step, int index, int count)
{
    emit stepStarted(m_phase, step.name, index, count);
    StepResult result{.name = step.name};
    QElapsedTimer timer;
    timer.start();
    result.ok = step.run && step.run(&result.error);
    result.elapsedMs = timer.elapsed();
    return result;
}

void SceneLifecycle::tearDown(TransitionReport &report)
{
    const QList<NamedStep> steps = m_teardownSteps;
    for (int i = 0; i < steps.size(); ++i) {
        const StepResult result = run(steps.at(i), i, int(steps.size()));
        if (!result.ok)
            qCWarning(lcLifecycle).noquote()
                << "SceneLifecycle: teardown step" << result.name << "failed:" << result.error;
        report.teardownSteps.append(result);
    }
    report.teardownOk = true;
}

void SceneLifecycle::checkInvariants(TransitionReport &report) const
{
    if (!m_check)
        return;
    report.violations = m_check();
    for (const QString &violation : std::as_const(report.violations))
        qCWarning(lcLifecycle).noquote() << "SceneLifecycle: INVARIANT VIOLATION —" << violation;
}

void SceneLifecycle::load(const QList<NamedStep> &steps, TransitionReport &report)
{
    for (int i = 0; i < steps.size(); ++i) {
        report.loadSteps.append(run(steps.at(i), i, int(steps.size())));
        const StepResult &result = report.loadSteps.last();
        if (result.ok)
            continue;
        qCWarning(lcLifecycle).noquote() << "SceneLifecycle: load step" << result.name
                                         << "failed:" << result.error << "— aborting load";
        report.failedStep = result.name;
        return;
    }
    report.loadOk = true;
}

} // namespace corvane::lifecycle
