#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QUuid>

/// How bad a standing problem is; the values are stored and shown, so they are fixed.
enum class ErrorSeverity { Info = 0, Warning = 1, Error = 2, Critical = 3 };

/// One standing problem.
struct ErrorEntry
{
    int id = 0;                                   ///< unique within the process, counted from 1
    ErrorSeverity severity = ErrorSeverity::Info; ///< decides the count that it belongs to
    QString source{};                             ///< who reports, the key of clearForSource()
    QString message{};                            ///< one sentence for the user
    QDateTime timestamp{};                        ///< local time of the report
    QUuid instanceId{};                           ///< the item that it concerns; null for none
    int line = -1;                                ///< in the source text, from 1; -1 for none
    int column = -1;                              ///< in the source text, from 1; -1 for none

    bool operator==(const ErrorEntry &) const = default;
};

/// The register of standing problems: what is wrong now, not a log of what once was. A reporter
/// therefore clears its source before each new run.
///
/// Every function may be called on any thread. Signals are emitted on the caller's thread after the
/// lock is released, so a slot may call straight back.
class ErrorManager : public QObject
{
    Q_OBJECT

public:
    /// The register of the process. Others may be made for tests.
    static ErrorManager &instance();

    explicit ErrorManager(QObject *parent = nullptr);

    /// Adds a problem and logs it. Returns the id of the entry.
    int reportError(ErrorSeverity severity, const QString &source, const QString &message,
                    const QUuid &instanceId = {}, int line = -1, int column = -1);
    int reportInfo(const QString &source, const QString &message, const QUuid &instanceId = {});
    int reportWarning(const QString &source, const QString &message, const QUuid &instanceId = {});
    int reportCritical(const QString &source, const QString &message, const QUuid &instanceId = {});

    QList<ErrorEntry> allErrors() const; ///< in the order of their reports
    QList<ErrorEntry> errorsForInstance(const QUuid &instanceId) const;
    QList<ErrorEntry> errorsForSource(const QString &source) const;

    int errorCount() const;   ///< entries of severity Error and Critical
    int warningCount() const; ///< entries of severity Warning
    int infoCount() const;    ///< entries of severity Info

    /// Removes one source's entries: errorRemoved for each, then countsChanged, which comes for an
    /// unknown source too.
    void clearForSource(const QString &source);

    /// Removes one instance's entries: errorRemoved for each, errorsClearedForInstance, then
    /// countsChanged.
    void clearForInstance(const QUuid &instanceId);

    /// Removes everything: errorsCleared, then countsChanged.
    void clearAll();

signals:
    void errorAdded(const ErrorEntry &entry);
    void errorRemoved(int id);
    void errorsClearedForInstance(const QUuid &id);
    void errorsCleared();
    void countsChanged(int errors, int warnings, int infos);

private:
    struct Counts
    {
        int errors = 0, warnings = 0, infos = 0;
    };
    static int &countOf(Counts &counts, ErrorSeverity severity);
    QList<ErrorEntry> entriesLocked(const QList<int> &ids) const;
    QList<int> removeLocked(const QList<int> &ids);
    void announceRemoval(const QList<int> &ids);
    void emitCounts();

    mutable QMutex m_mutex;
    QList<ErrorEntry> m_entries; ///< ascending ids, so an id is found by bisection
    Counts m_counts;             ///< kept along: counting at each report would be quadratic
    int m_nextId = 1;
    QHash<QUuid, QList<int>> m_idsByInstance;
    QHash<QString, QList<int>> m_idsBySource;
};

Q_DECLARE_METATYPE(ErrorEntry)
