// The settings of a document, the animation clock among them, and its materials.
#include <corvane/model/Corvane.h>

#include <corvane/model/NestedValue.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr double defaultFps = 30.0;

} // namespace

QVariant Corvane::sceneSetting(const QString &path) const
{
    return getNestedValue(m_settings, path);
}

void Corvane::setSceneSetting(const QString &path, const QVariant &value)
{
    setNestedValue(m_settings, path, value);
    emit sceneSettingsChanged();
    emit sceneChanged();
}

void Corvane::setSceneSettings(const QVariantMap &settings)
{
    m_settings = settings;
    emit sceneSettingsChanged();
    emit sceneChanged();
}

double Corvane::animationFps() const
{
    const double fps = sceneSetting(u"animation.fps"_s).toDouble();
    return fps > 0.0 && std::isfinite(fps) ? fps : defaultFps;
}

void Corvane::setAnimationFps(double fps)
{
    if (animationFps() == fps)
        return;
    setSceneSetting(u"animation.fps"_s, fps);
    emit animationFpsChanged(animationFps());
}

int Corvane::animationCurrentFrame() const
{
    return sceneSetting(u"animation.currentFrame"_s).toInt();
}

void Corvane::setAnimationCurrentFrame(int frame)
{
    if (animationCurrentFrame() == frame)
        return;
    setNestedValue(m_settings, u"animation.currentFrame"_s, frame);
    emit animationFrameChanged(frame);
}

bool Corvane::animationPlaying() const
{
    return sceneSetting(u"animation.playing"_s).toBool();
}

void Corvane::setAnimationPlaying(bool playing)
{
    if (animationPlaying() == playing)
        return;
    setNestedValue(m_settings, u"animation.playing"_s, playing);
    emit animationPlayingChanged(playing);
}

double Corvane::animationTime() const
{
    return animationCurrentFrame() / animationFps();
}

std::optional<CatalogMaterial> Corvane::material(const QUuid &id) const
{
    const auto it = m_materials.constFind(id);
    return it == m_materials.cend() ? std::nullopt : std::optional(*it);
}

QUuid Corvane::addMaterial(const CatalogMaterial &material)
{
    CatalogMaterial added = material;
    if (added.id.isNull())
        added.id = QUuid::createUuid();
    if (m_materials.contains(added.id)) {
        updateMaterial(added);
        return added.id;
    }
    m_materials.insert(added.id, added);
    m_materialNameIndex.insert(added.name, added.id);
    emit materialAdded(added.id);
    return added.id;
}

bool Corvane::updateMaterial(const CatalogMaterial &material)
{
    const auto it = m_materials.find(material.id);
    if (it == m_materials.end())
        return false;
    if (it->name != material.name && m_materialNameIndex.value(it->name) == material.id)
        m_materialNameIndex.remove(it->name);
    *it = material;
    m_materialNameIndex.insert(material.name, material.id);
    emit materialUpdated(material.id);
    return true;
}

void Corvane::removeMaterial(const QUuid &id)
{
    const auto it = m_materials.find(id);
    if (it == m_materials.end())
        return;
    if (m_materialNameIndex.value(it->name) == id)
        m_materialNameIndex.remove(it->name);
    m_materials.erase(it);
    emit materialRemoved(id);
}

} // namespace corvane::model
