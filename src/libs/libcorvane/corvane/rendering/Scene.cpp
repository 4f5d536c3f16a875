#include <corvane/rendering/Scene.h>

#include <corvane/rendering/RhiContext.h>

#include <QLoggingCategory>

#include <utility>

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcScene, "ondrel.rendering.scene", QtWarningMsg)

Scene::Scene(RenderStateManager *state, camera::Camera *camera)
    : m_state(state)
    , m_camera(camera)
{}

Scene::~Scene() = default;

Layer *Scene::addLayer(std::unique_ptr<Layer> layer)
{
    if (layer)
        layer->setScene(this);
    m_layers.push_back(std::move(layer));
    return m_layers.back().get();
}

void Scene::initialize(RhiContext &context)
{
    visitDrawn([&context](Layer &layer) { ensureInitialized(layer, context); });
}

void Scene::update(RhiContext &context, qint64 elapsedMs)
{
    visitDrawn([&](Layer &layer) {
        if (ensureInitialized(layer, context))
            layer.update(context, elapsedMs);
    });
}

// The pass comes before the main one, not in the middle of it: what a pass has drawn would have to
// be stored and loaded again around another.
void Scene::renderGeometry(RhiContext &context)
{
    bool isNeeded = false;
    visitDrawn(
        [&](Layer &layer) { isNeeded |= !layer.needsInitialize() && layer.needsGeometryUpdate(); });
    if (!isNeeded || !context.ensureGBuffer())
        return;
    QRhiRenderTarget *const target = context.renderTarget;
    context.setRenderTarget(context.gBuffer.renderTarget());
    context.commandBuffer->beginPass(context.renderTarget, Qt::transparent, {1.0f, 0},
                                     context.takeResourceUpdates());
    visitDrawn([&context](Layer &layer) {
        if (layer.hasGeometryPass() && !layer.needsInitialize())
            layer.renderGeometry(context);
    });
    context.commandBuffer->endPass();
    context.setRenderTarget(target);
}

void Scene::renderPre(RhiContext &context)
{
    visitDrawn([&context](Layer &layer) {
        if (!layer.needsInitialize())
            layer.renderPre(context);
    });
}

void Scene::renderPost(RhiContext &context)
{
    for (std::size_t i = 0; i < m_layers.size(); ++i) {
        if (!m_layers[i])
            qCWarning(lcScene) << "Scene::renderPost: null layer at index" << i;
    }
    visitDrawn([&context](Layer &layer) {
        if (ensureInitialized(layer, context))
            layer.renderPost(context);
    });
}

void Scene::releaseResources()
{
    visit(m_layers, [](Layer &layer) {
        layer.releaseResources();
        layer.setNeedsInitialize(true);
    });
}

void Scene::onSampleCountChanged(int sampleCount)
{
    visit(m_layers, [sampleCount](Layer &layer) { layer.onSampleCountChanged(sampleCount); });
}

bool Scene::takeReinitializeRequest()
{
    return std::exchange(m_needsReinitialize, false);
}

void Scene::visit(const std::vector<std::unique_ptr<Layer>> &layers, const Visitor &visitor)
{
    for (const auto &layer : layers) {
        if (!layer)
            continue;
        visitor(*layer);
        visit(layer->children(), visitor);
    }
}

void Scene::visitDrawn(const Visitor &visitor) const
{
    visit(m_layers, [&visitor](Layer &layer) {
        if (layer.isDrawn())
            visitor(layer);
    });
}

bool Scene::ensureInitialized(Layer &layer, RhiContext &context)
{
    if (layer.needsInitialize())
        layer.setNeedsInitialize(!layer.initialize(context));
    return !layer.needsInitialize();
}

} // namespace corvane::rendering
