#pragma once

#include <corvane/zirn/ZirnTaskResult.h>

#include <QHash>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace corvane::zirn {

/// One call of a task.
struct TaskPlanStep
{
    QString task{};
    QVariantMap args{};
    QMap<QString, QString> produces{}; ///< placeholder name to the output key that fills it

    bool operator==(const TaskPlanStep &) const = default;
};

/// An ordered list of calls; LLMSession::validatePlanJson() makes one from JSON.
struct TaskPlan
{
    /// Placeholders may lead to further ones, in circles too: past these limits an argument fails.
    static constexpr int maxReplacements = 1000;          ///< an argument
    static constexpr qsizetype maxArgumentSize = 1 << 20; ///< characters, of an argument
    static constexpr qsizetype maxArgumentsSize =
        16 << 20; ///< characters, of all that were filled in a step

    QString description{};
    QList<TaskPlanStep> steps{};

    /// The arguments of `step` with every "${name}" in a text at the top level replaced by the
    /// variable of that name; what is put in is searched in turn. Maps and lists inside are left
    /// as they are. Empty when a name is unknown or a limit is passed, and then `error` says
    /// which; it ends in State and Suggestion, as failureText() does.
    static std::optional<QVariantMap> resolvePlaceholders(const TaskPlanStep &step,
                                                          const QHash<QString, QString> &variables,
                                                          QString &error);

    bool operator==(const TaskPlan &) const = default;
};

/// What became of a plan.
struct TaskPlanResult
{
    QList<ZirnTaskResult> stepResults{}; ///< of the steps that were reached, in their order
    qint32 failedStepIndex = -1;         ///< the first that failed; -1 for none
    bool cancelled = false;              ///< stopped before its end because somebody asked for that
    bool success = false;
    QString planDescription{};

    /// Appends; the first failed result also sets failedStepIndex.
    void addStepResult(const ZirnTaskResult &result);

    /// Of a plan that never ran: one failed step that holds the message.
    static TaskPlanResult rejected(const QString &message);

    bool operator==(const TaskPlanResult &) const = default;
};

} // namespace corvane::zirn

Q_DECLARE_METATYPE(corvane::zirn::TaskPlan)
Q_DECLARE_METATYPE(corvane::zirn::TaskPlanResult)
