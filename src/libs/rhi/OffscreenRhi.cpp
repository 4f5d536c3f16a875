#include <rhi/OffscreenRhi.h>

#include <rhi/HeadlessPlatform.h>
#include <rhi/RenderDevice.h>
#include <rhi/VulkanDevice.h>
#include <rhi/VulkanInstance.h>
#include <shader/Targets.h>

#include <QLoggingCategory>
#include <QMutex>
#include <QOffscreenSurface>
#include <QOpenGLContext>

namespace rhi {

Q_LOGGING_CATEGORY(lcOffscreen, "ondrel.rhi.offscreen", QtInfoMsg)

namespace {

QBasicMutex deviceTableMutex; ///< held while an entry of a QVulkanInstance's table comes or goes

bool isOpenGLES()
{
    return QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGLES;
}

RhiPointer createSharedVulkanRhi(bool validation)
{
    QVulkanInstance *const instance = sharedVulkanInstance(validation);
    if (!instance)
        return nullptr;
    return createVulkanRhi(instance, selectOffscreenRenderDevice(instance));
}

void ensurePreferredFormat(QOffscreenSurface *surface)
{
    const QSurfaceFormat wanted = preferredOffscreenSurfaceFormat();
    if (isOpenGLES() || surface->requestedFormat() == wanted)
        return;
    surface->destroy();
    surface->setFormat(wanted);
    surface->create();
}

RhiPointer createOpenGLRhiOfFormat(QOffscreenSurface *surface, const QSurfaceFormat &format)
{
    QRhiGles2InitParams params;
    params.format = format;
    params.fallbackSurface = surface;
    return RhiPointer(QRhi::create(QRhi::OpenGLES2, &params, QRhi::EnablePipelineCacheDataSave));
}

/// Lets shaders be made first for the device that is there.
RhiPointer announced(RhiPointer rhi)
{
    if (rhi && rhi->backend() == QRhi::Vulkan)
        shader::addRunningTargets(shader::Target::Spirv);
    else if (rhi)
        shader::addRunningTargets(isOpenGLES() ? shader::Target::EsGlsl
                                               : shader::Target::DesktopGlsl);
    return rhi;
}

} // namespace

void RhiDeleter::operator()(QRhi *rhi) const
{
    const QMutexLocker lock(&deviceTableMutex);
    delete rhi;
}

RhiPointer createVulkanRhi(QVulkanInstance *instance, VkPhysicalDevice device)
{
    QRhiVulkanInitParams params;
    params.inst = instance;
    params.deviceExtensions = sharingExtensions(instance, device);
    QRhiVulkanNativeHandles handles;
    handles.physDev = device;
    const QMutexLocker lock(&deviceTableMutex);
    return announced(RhiPointer(QRhi::create(
        QRhi::Vulkan, &params, QRhi::EnablePipelineCacheDataSave, device ? &handles : nullptr)));
}

RhiPointer createOpenGLRhi(QOffscreenSurface *surface)
{
    if (!surface || !hasGuiApplication())
        return nullptr;
    ensurePreferredFormat(surface);
    if (!surface->isValid())
        return nullptr;
    RhiPointer rhi = createOpenGLRhiOfFormat(surface, preferredOffscreenSurfaceFormat());
    if (!rhi && !isOpenGLES()) {
        qCInfo(lcOffscreen) << "createOffscreenRhi: core-profile GL context failed — retrying with "
                               "the default format";
        rhi = createOpenGLRhiOfFormat(surface, QSurfaceFormat::defaultFormat());
    }
    return announced(std::move(rhi));
}

RhiPointer createOffscreenRhi(QOffscreenSurface *surface, bool validation)
{
    if (RhiPointer rhi = createSharedVulkanRhi(validation))
        return rhi;
    qCInfo(lcOffscreen) << "createOffscreenRhi: Vulkan create failed — falling back to OpenGL(ES)";
    if (RhiPointer rhi = createOpenGLRhi(surface))
        return rhi;
    qCWarning(lcOffscreen) << "createOffscreenRhi: failed to create any QRhi backend (Vulkan and "
                              "OpenGL(ES) both unavailable)";
    return nullptr;
}

QSurfaceFormat preferredOffscreenSurfaceFormat()
{
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    if (isOpenGLES()) {
        format.setVersion(3, 1);
    } else {
        format.setVersion(4, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
    }
    return format;
}

} // namespace rhi
