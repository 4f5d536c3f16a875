#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace corvane::zirn {

class ZirnTask;

/// What the runtime asks about its caller before a task runs. Called on plan threads, so an
/// implementation answers from values that it guards.
class ZirnAuthContext : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool isSidActive() const = 0;   ///< an identity is logged in
    virtual bool isFsidActive() const = 0;  ///< one that a password protects
    virtual bool isOwnerActive() const = 0; ///< the owner of the device
    virtual bool isNodeActive() const = 0;
    virtual bool isNodePaired() const = 0;
    virtual bool isLocalInvocation() const = 0;
    virtual bool isFileScoped() const; ///< the work is on one explicit local file; false
    virtual bool hasGroupCap(const QString &name) const; ///< false
    virtual bool canReadChunk(qint64 bytes) const;       ///< false
    virtual bool canShareChunk(qint64 bytes) const;      ///< false
};

/// The caller at a command line: no identity, but a local file to work on.
class FileScopedAuthContext : public ZirnAuthContext
{
    Q_OBJECT

public:
    using ZirnAuthContext::ZirnAuthContext;

    bool isSidActive() const override;
    bool isFsidActive() const override;
    bool isOwnerActive() const override;
    bool isNodeActive() const override;
    bool isNodePaired() const override;
    bool isLocalInvocation() const override;
    bool isFileScoped() const override;
};

/// Why the caller may not run the task: the text of the first capability of ZirnTask::requiredCaps
/// that it lacks. Empty when it may; a word that names no capability asks nothing.
std::optional<QString> missingCapability(const ZirnTask &task, const ZirnAuthContext &caller);

} // namespace corvane::zirn
