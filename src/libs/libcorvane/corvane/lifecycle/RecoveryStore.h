#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

namespace corvane::lifecycle {

/// A copy of unsaved work that a run of the program left behind.
struct RecoveryRecord
{
    QString id{};
    QString copyPath{};     ///< the copy, a scene file
    QString originalPath{}; ///< of the scene when it was copied; empty where it never had a file
    QString name{};         ///< of the scene, for the user
    QDateTime time{};       ///< when it was copied
    QByteArray thumbnail{}; ///< a PNG; may be empty

    bool operator==(const RecoveryRecord &) const = default;
};

/// The folder of such copies. Each run of the program has one slot in it, locked for as long as the
/// run lives, by the system: a slot without a lock is of a run that ended without cleaning up.
///
/// A copy is there as a whole or not at all: the scene goes into a file of a new name, and the
/// record, which names it, replaces the one before at once. Any thread; one store for a slot.
class RecoveryStore
{
public:
    /// @param folder  made when something is first written
    explicit RecoveryStore(const QString &folder);
    ~RecoveryStore(); ///< lets the lock go; what is in the slot stays
    RecoveryStore(const RecoveryStore &) = delete;
    RecoveryStore &operator=(const RecoveryStore &) = delete;

    /// Puts a copy into the slot, in place of the one before. On false `error` says why, and the
    /// one before is still there.
    [[nodiscard]] bool write(const RecoveryRecord &record, const QByteArray &scene,
                             QString *error = nullptr);
    /// Empties the slot.
    void clear();
    bool hasCopy() const;

    /// What other runs left, the latest first. Damaged records are passed over.
    QList<RecoveryRecord> leftBehind() const;
    /// Takes one of those away.
    void discard(const RecoveryRecord &record) const;

    QString folder() const { return m_folder; }

private:
    bool lock(QString *error);
    QString pathOf(const QString &file) const;

    const QString m_folder;
    QString m_slot;      ///< its id
    QString m_sceneFile; ///< name of the copy in it
    int m_generation = 0;
    int m_lock = -1;
};

} // namespace corvane::lifecycle
