#include <corvane/lifecycle/SceneFileWatch.h>

#include <corvane/lifecycle/SceneReader.h>

#include <QUuid>

namespace corvane::lifecycle {

void SceneFileWatch::start(const QString &path, const QByteArray &digest)
{
    stop();
    m_path = path;
    m_digest = digest;
    m_monitor = std::make_unique<asset::AssetFileMonitor>();
    m_monitor->watchPath(path, QUuid::createUuid());
    connect(m_monitor.get(), &asset::AssetFileMonitor::fileChanged, this, &SceneFileWatch::look);
}

void SceneFileWatch::stop()
{
    if (m_monitor) // which may be the one that is telling
        m_monitor.release()->deleteLater();
    m_path.clear();
    m_digest.clear();
    m_toldOf.clear();
}

void SceneFileWatch::noteWritten()
{
    m_digest = fileDigest(m_path);
    m_toldOf.clear();
}

bool SceneFileWatch::isChanged() const
{
    const QByteArray present = m_path.isEmpty() ? QByteArray() : fileDigest(m_path);
    return !present.isEmpty() && present != m_digest;
}

void SceneFileWatch::look()
{
    const QByteArray present = fileDigest(m_path);
    if (present.isEmpty() || present == m_digest || present == m_toldOf)
        return;
    m_toldOf = present;
    emit changed();
}

} // namespace corvane::lifecycle
