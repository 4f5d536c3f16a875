#pragma once

#include <corvane/zirn/ZirnTask.h>

#include <QHash>
#include <QObject>
#include <QStringList>

#include <functional>

namespace corvane::zirn {

/// The tasks there are, by name. Filled once at start on the main thread; plan threads read it
/// afterwards without a lock, so nothing is registered or removed while a plan runs.
class ZirnTaskRegistry : public QObject
{
    Q_OBJECT

public:
    explicit ZirnTaskRegistry(QObject *parent = nullptr);
    ~ZirnTaskRegistry() override;

    /// The one of the process. Others may be made, for tests and for tools of few tasks.
    static ZirnTaskRegistry &instance();

    /// Adds a task. A null pointer, an empty name and a name that is taken are logged and refused;
    /// the first registration stands. Answers whether the task was added.
    bool registerTask(const ZirnTaskPtr &task);
    /// Answers whether there was one. Plans that run keep their tasks alive.
    bool unregisterTask(const QString &name);

    /// Null when there is none.
    ZirnTaskPtr task(const QString &name) const;
    bool contains(const QString &name) const;
    qsizetype count() const;
    QStringList taskNames() const; ///< sorted

    /// What to say of a name that no task has: "Did you mean \"corvane.item.add\"?". Empty until
    /// whoever registers tasks brings one who finds near names.
    using NameAdvice = std::function<QString(const QString &name, const QStringList &known)>;
    void setNameAdvice(const NameAdvice &advice) { m_nameAdvice = advice; }
    QString adviceOn(const QString &name) const;

    /// Whether all libraries have registered what they have; false at first.
    bool isReady() const;
    void setReady(bool ready);

signals:
    void taskRegistered(const QString &name);
    void taskUnregistered(const QString &name);
    void readyChanged(bool ready);

private:
    QHash<QString, ZirnTaskPtr> m_tasks;
    NameAdvice m_nameAdvice;
    bool m_ready = false;
};

} // namespace corvane::zirn
