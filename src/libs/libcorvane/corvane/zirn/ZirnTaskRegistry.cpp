#include <corvane/zirn/ZirnTaskRegistry.h>

#include <store/MethodGate.h>

#include <QLoggingCategory>

namespace corvane::zirn {

Q_LOGGING_CATEGORY(lcTaskRegistry, "ondrel.zirn.registry")

ZirnTaskRegistry::ZirnTaskRegistry(QObject *parent)
    : QObject(parent)
{}

ZirnTaskRegistry::~ZirnTaskRegistry() = default;

ZirnTaskRegistry &ZirnTaskRegistry::instance()
{
    static ZirnTaskRegistry registry;
    return registry;
}

bool ZirnTaskRegistry::registerTask(const ZirnTaskPtr &task)
{
    const store::MethodGate gate(this);
    if (!task) {
        qCWarning(lcTaskRegistry) << "ZirnTaskRegistry::registerTask: null task";
        return false;
    }
    if (task->name.isEmpty()) {
        qCWarning(lcTaskRegistry) << "ZirnTaskRegistry::registerTask: empty task name";
        return false;
    }
    if (m_tasks.contains(task->name)) {
        qCWarning(lcTaskRegistry).noquote() << "ZirnTaskRegistry::registerTask: duplicate task name"
                                            << task->name << "— second registration rejected";
        return false;
    }
    m_tasks.insert(task->name, task);
    emit taskRegistered(task->name);
    return true;
}

bool ZirnTaskRegistry::unregisterTask(const QString &name)
{
    const store::MethodGate gate(this);
    if (!m_tasks.remove(name))
        return false;
    emit taskUnregistered(name);
    return true;
}

ZirnTaskPtr ZirnTaskRegistry::task(const QString &name) const
{
    const store::MethodGate gate(this);
    return m_tasks.value(name);
}

bool ZirnTaskRegistry::contains(const QString &name) const
{
    const store::MethodGate gate(this);
    return m_tasks.contains(name);
}

qsizetype ZirnTaskRegistry::count() const
{
    const store::MethodGate gate(this);
    return m_tasks.size();
}

QStringList ZirnTaskRegistry::taskNames() const
{
    const store::MethodGate gate(this);
    QStringList names = m_tasks.keys();
    names.sort();
    return names;
}

QString ZirnTaskRegistry::adviceOn(const QString &name) const
{
    return m_nameAdvice ? m_nameAdvice(name, taskNames()) : QString();
}

bool ZirnTaskRegistry::isReady() const
{
    const store::MethodGate gate(this);
    return m_ready;
}

void ZirnTaskRegistry::setReady(bool ready)
{
    const store::MethodGate gate(this);
    if (m_ready == ready)
        return;
    m_ready = ready;
    emit readyChanged(ready);
}

} // namespace corvane::zirn
