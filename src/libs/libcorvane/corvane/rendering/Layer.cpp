#include <corvane/rendering/Layer.h>

#include <corvane/rendering/Scene.h>

#include <algorithm>

namespace corvane::rendering {

Layer::Layer() = default;
Layer::~Layer() = default;

void Layer::renderPost(RhiContext &) {}

QString Layer::name() const
{
    return typeName();
}

void Layer::renderGeometry(RhiContext &) {}

QIcon Layer::icon() const
{
    return typeIcon();
}

QIcon Layer::typeIcon() const
{
    return {};
}

QMatrix4x4 Layer::worldTransform() const
{
    return m_parent ? m_parent->worldTransform() * m_transform : m_transform;
}

void Layer::addChild(std::unique_ptr<Layer> child)
{
    if (!child)
        return;
    child->m_parent = this;
    child->setScene(m_scene);
    m_children.push_back(std::move(child));
}

std::unique_ptr<Layer> Layer::removeChild(Layer *child)
{
    const auto at = std::find_if(m_children.begin(), m_children.end(),
                                 [child](const auto &known) { return known.get() == child; });
    if (at == m_children.end())
        return nullptr;
    std::unique_ptr<Layer> removed = std::move(*at);
    m_children.erase(at);
    removed->m_parent = nullptr;
    removed->setScene(nullptr);
    return removed;
}

bool Layer::isUnderCursor(const QVector3D &, const QVector3D &, float &) const
{
    return false;
}

bool Layer::isInsideLasso(const QList<QVector2D> &, const QMatrix4x4 &) const
{
    return false;
}

void Layer::onSampleCountChanged(int) {}

void Layer::reportLayerError(ErrorSeverity severity, const QString &text)
{
    ErrorManager::instance().reportError(severity, name(), text);
}

RenderStateManager *Layer::renderState() const
{
    return m_scene ? m_scene->renderState() : nullptr;
}

void Layer::setScene(Scene *scene)
{
    m_scene = scene;
    for (const auto &child : m_children)
        child->setScene(scene);
}

} // namespace corvane::rendering
