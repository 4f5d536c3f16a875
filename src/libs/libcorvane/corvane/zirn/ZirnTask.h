#pragma once

#include <corvane/zirn/ZirnTaskParams.h>
#include <corvane/zirn/ZirnTaskResult.h>

#include <QLatin1StringView>
#include <QList>
#include <QSet>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace corvane::zirn {

class ZirnTaskContext;

/// One argument that a task reads, as it is shown to the model.
struct ZirnTaskParamDescriptor
{
    QString name{};
    QString description{};
    QVariant defaultValue{}; ///< invalid for none
    bool required = false;

    bool operator==(const ZirnTaskParamDescriptor &) const = default;
};

/// When a person is asked about a call that a language model makes.
enum class ConfirmationPolicy : qint32 {
    WithPlan = 1,  ///< once, before the plan runs, and only for scopes that are not granted
    EveryCall = 2, ///< again at each call, whatever is granted
};

/// Something the assistant or a script can do, by name.
///
/// A task holds no state of a run: one shared instance serves all plans. Subclasses describe
/// themselves in their constructors; after registration a task is only read.
class ZirnTask
{
public:
    ZirnTask(QString name, QString description, QStringList tags, QStringList scopes,
             QStringList outputs);
    virtual ~ZirnTask();
    ZirnTask(const ZirnTask &) = delete;
    ZirnTask &operator=(const ZirnTask &) = delete;

    /// Named resources that the task holds alone while its plan runs; none by default. They matter
    /// only to a runtime with a resource manager.
    virtual QStringList resourceScopes() const;

    /// Does it. Called on a plan's thread, by several plans at once, so it must be re-entrant.
    /// @param context  never null, valid until this returns
    virtual ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *context) = 0;

    /// Fills requiredCaps with the capabilities of a tier: "bootstrap", "cad-editing",
    /// "identified", "operational", "connected", "secured" or "owner". Any other word changes
    /// nothing.
    void setTier(const QString &tier);

    QString name;        ///< "<domain>.<action>", lower case: "corvane.item.add"
    QString description; ///< one line, for the model and the approval card
    QStringList tags;    ///< such as "scene", "query"
    QString example;     ///< one step as JSON, for the model
    QStringList outputs; ///< the keys that a successful result holds
    QStringList scopes;  ///< permissions needed, such as "corvane.scene.mutate"
    QList<ZirnTaskParamDescriptor> params;
    QSet<QString> requiredCaps;
    bool readOnly = false;     ///< it changes nothing
    qint32 timeoutSeconds = 0; ///< limit of one call; 0 means none
    bool idempotent = false;   ///< twice with the same arguments equals once
    ConfirmationPolicy confirmationPolicy = ConfirmationPolicy::WithPlan;
};

using ZirnTaskPtr = QSharedPointer<ZirnTask>;

/// How much a call can harm, as the approval card tells it.
enum class TaskDanger : qint32 { Safe = 0, Unsafe = 1, Critical = 2 };

/// Safe is what is both read-only and idempotent, and a task that does not exist; critical is what
/// is confirmed at every call. A read-only task that is not idempotent counts as unsafe, on
/// purpose: what it reads may be used up.
TaskDanger dangerOf(const ZirnTask *task);

/// "safe", "unsafe" or "critical".
QLatin1StringView dangerWord(TaskDanger danger);

} // namespace corvane::zirn
