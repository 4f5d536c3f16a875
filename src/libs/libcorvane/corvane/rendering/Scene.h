#pragma once

#include <corvane/rendering/Layer.h>

#include <QColor>

#include <functional>
#include <memory>
#include <vector>

namespace corvane::camera {
class Camera;
}

namespace corvane::rendering {

class RenderStateManager;

/// The layers of a picture, in the order in which they are drawn, with their children after them.
///
/// It runs one step of a frame over all that are drawn; RenderPipeline decides which steps a frame
/// has. What Layer says of passes holds here too. On the thread of the pipeline.
class Scene
{
public:
    /// `state` and `camera` outlive the scene; both may be null.
    explicit Scene(RenderStateManager *state = nullptr, camera::Camera *camera = nullptr);
    ~Scene();
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    Layer *addLayer(std::unique_ptr<Layer> layer);
    const std::vector<std::unique_ptr<Layer>> &layers() const { return m_layers; }
    /// The first layer, or child of one, that is a T.
    template<typename T>
    T *findLayer() const;

    RenderStateManager *renderState() const { return m_state; }
    camera::Camera *camera() const { return m_camera; }
    QColor clearColor() const { return m_clearColor; }
    void setClearColor(const QColor &color) { m_clearColor = color; }

    /// Initialises what is due. A layer that fails is tried again at the next frame.
    void initialize(RhiContext &context);
    void update(RhiContext &context, qint64 elapsedMs);
    /// Draws the G-buffer when some layer has it out of date, in a pass of its own.
    void renderGeometry(RhiContext &context);
    void renderPre(RhiContext &context);
    void renderPost(RhiContext &context);
    void releaseResources();
    void onSampleCountChanged(int sampleCount);

    /// All device resources are to be made anew before the next frame.
    void requestReinitialize() { m_needsReinitialize = true; }
    bool takeReinitializeRequest();

private:
    using Visitor = std::function<void(Layer &)>;
    static void visit(const std::vector<std::unique_ptr<Layer>> &layers, const Visitor &visitor);
    void visitDrawn(const Visitor &visitor) const;
    static bool ensureInitialized(Layer &layer, RhiContext &context);

    std::vector<std::unique_ptr<Layer>> m_layers;
    RenderStateManager *m_state = nullptr;
    camera::Camera *m_camera = nullptr;
    QColor m_clearColor{0, 0, 0};
    bool m_needsReinitialize = false;
};

template<typename T>
T *Scene::findLayer() const
{
    T *found = nullptr;
    visit(m_layers, [&found](Layer &layer) {
        if (!found)
            found = dynamic_cast<T *>(&layer);
    });
    return found;
}

} // namespace corvane::rendering
