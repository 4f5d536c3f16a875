#pragma once

#include <batch/BatchStatus.h>

#include <QDateTime>
#include <QList>
#include <QStringList>
#include <QVariantMap>

namespace batch {

/// One piece of long work: what is asked for, and how it went. A value: the queue hands out copies,
/// and a copy never changes behind its holder's back. All times are UTC and invalid until they
/// happen.
struct BatchJob
{
    quint64 id = 0;                ///< given by BatchQueue::submit, from 1; 0 means no job
    QString type{};                ///< routing key, such as "corvane/mesh_export"
    QString source{};              ///< the subsystem that submitted it
    qint32 priority = 50;          ///< larger runs first
    qint32 hungTimeoutSeconds = 0; ///< seconds without a heartbeat until Hung; 0 or less: never
    QList<quint64> dependsOn{};    ///< jobs that must be Done first
    QVariantMap payload{};         ///< the worker's input
    QVariantMap result{};          ///< set by complete()
    QString error{};               ///< set by fail(), cancel() or a failed dependency
    QDateTime createdAt{};         ///< set by submit()
    QDateTime updatedAt{};         ///< every change of state and every setProgress()
    QDateTime startedAt{};         ///< set by claim()
    QDateTime completedAt{};       ///< set on entry to Done, Failed and Cancelled
    BatchStatus status = BatchStatus::Pending;
    QString workerId{};         ///< of the worker that claimed it
    QString origin{};           ///< who asked: "directive", "zirn", "manual" or "system"
    QString label{};            ///< free text for the user, shown as the tooltip of the type
    QStringList requiredTags{}; ///< each must be among the worker's tags
    QString minWorkerVersion{}; ///< the worker's version must not compare less, as a plain string

    bool operator==(const BatchJob &) const = default;
};

/// One line of a job's log.
struct BatchJobLog
{
    quint64 id = 0;    ///< from the queue's own counter, from 1
    quint64 jobId = 0; ///< the job that it belongs to
    BatchLogLevel level = BatchLogLevel::Info;
    QString message{};
    QVariantMap metadata{};
    QDateTime timestamp{}; ///< UTC

    bool operator==(const BatchJobLog &) const = default;
};

} // namespace batch

Q_DECLARE_METATYPE(batch::BatchJob)
Q_DECLARE_METATYPE(batch::BatchJobLog)
