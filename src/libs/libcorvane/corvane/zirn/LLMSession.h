#pragma once

#include <corvane/zirn/PermissionStore.h>
#include <corvane/zirn/TaskPlan.h>

#include <QObject>
#include <QPointer>
#include <QSharedPointer>

namespace corvane::zirn {

class ZirnTaskRuntime;

/// A language model as the author of plans: its text is checked, and what passes is submitted in
/// its name and with its permissions. The static parts serve everyone who reads or reports plans.
/// On the runtime's thread.
class LLMSession : public QObject
{
    Q_OBJECT

public:
    /// A longer plan is refused unread; a reader need not fetch more than one byte beyond.
    static constexpr qsizetype maxPlanBytes = 16 << 20;

    /// @param id  names the session in history: "chat"
    explicit LLMSession(QString id, ZirnTaskRuntime *runtime = nullptr, QObject *parent = nullptr);
    /// Takes the session's grants out of the store, which others may hold on to.
    ~LLMSession() override;

    QString id() const { return m_id; }
    QSharedPointer<PermissionStore> permissions() const { return m_permissions; }
    void setRuntime(ZirnTaskRuntime *runtime);

    /// Checks and submits a plan. False with `error` when it is no plan or no runtime is there;
    /// false with an empty `error` when the runtime rejected it, which says why in planCompleted().
    bool submitJsonPlan(const QByteArray &json, QString &error);

    /// Reads plan JSON in UTF-8:
    ///
    ///     {"description": "...", "steps": [
    ///         {"task": "domain.action", "args": {...}, "produces": {"placeholder": "outputKey"}}]}
    ///
    /// Trailing commas are forgiven, "tasks" is taken where "steps" is absent, and other keys mean
    /// nothing. Whether the tasks exist is not looked at. False leaves `out` as it was and puts
    /// the first fault into `error`. Any thread.
    [[nodiscard]] static bool validatePlanJson(const QByteArray &json, TaskPlan &out,
                                               QString &error);

    /// The result in words: a headline, a line a step, and a line for the outputs of each. For the
    /// model and for people. Any thread.
    static QString formatResultForLLM(const TaskPlanResult &result);

private:
    const QString m_id;
    QSharedPointer<PermissionStore> m_permissions;
    QPointer<ZirnTaskRuntime> m_runtime;
};

} // namespace corvane::zirn
