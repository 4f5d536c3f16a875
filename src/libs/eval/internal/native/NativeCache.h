#pragma once

#include <QByteArray>
#include <QString>

namespace eval::internal {

/// The folder of compiled objects, one file an object: "<key>.so", the object with a footer that
/// tells what it must hold.
///
/// The folder belongs to the user alone. An object counts only when it is a plain file of this
/// user, writable by nobody else, and as long and of the content that its footer says: a loader may
/// crash on anything else. Objects appear whole or not at all, whatever happens to the process that
/// writes them, and any number of processes may write one at a time. Those not used for longest go
/// when all of them take more than 512 MiB (cache::CacheLimit); what is loaded stays so.
class NativeCache
{
public:
    /// The folder need not exist.
    explicit NativeCache(QString folder);
    /// CacheLocation + "/native".
    static QString defaultFolder();
    /// The key of a unit: tool, flags and text.
    static QByteArray keyOf(const QByteArray &source);

    QString pathOf(const QByteArray &key) const;
    /// Whether there is an object that may be loaded.
    bool holds(const QByteArray &key) const;
    /// Puts a copy of an object in place. An empty text on success, else why not.
    [[nodiscard]] QString store(const QByteArray &key, const QByteArray &object) const;

private:
    /// Makes the folder and its mode right. False when it can't be used.
    bool prepareFolder() const;
    bool isFolderSafe() const;

    QString m_folder;
};

} // namespace eval::internal
