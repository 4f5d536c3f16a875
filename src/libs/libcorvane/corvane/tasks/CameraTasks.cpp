#include <corvane/tasks/CameraTasks.h>

#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/MainThread.h>

#include <QObject>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

struct CameraCall
{
    const char *method;
    QStringView attempt;
    QStringView success;
};

constexpr CameraCall reset{"requestReset", u"reset camera", u"Camera reset to default view"};
constexpr CameraCall fitContent{"requestFitContent", u"fit camera to content",
                                u"Camera reframed to fit scene content"};
constexpr CameraCall fitSelection{"requestFitSelection", u"fit camera to selection",
                                  u"Camera reframed to fit selection"};

ZirnTaskResult callBridge(const CameraCall &call)
{
    QObject *bridge = ops::CorvaneServiceLocator::instance().cameraBridge();
    const QString attempt = call.attempt.toString();
    if (!bridge)
        return ZirnTaskResult::failed(
            u"Failed to %1: Corvane UI not available (no camera bridge registered). State: "
            u"unchanged. Suggestion: open Corvane first."_s.arg(attempt));
    if (!QMetaObject::invokeMethod(bridge, call.method))
        return ZirnTaskResult::failed(
            u"Failed to %1: bridge invocation failed. State: unchanged."_s.arg(attempt));
    return ZirnTaskResult::succeeded(call.success.toString());
}

ZirnTaskResult callOnMainThread(const CameraCall &call)
{
    const auto result = onMainThread([&call] { return callBridge(call); });
    return result.value_or(ZirnTaskResult::failed(
        u"Failed to %1: bridge invocation failed. State: unchanged."_s.arg(call.attempt)));
}

} // namespace

ZirnTaskResult resetCamera(const ZirnTaskParams &, ZirnTaskContext &)
{
    return callOnMainThread(reset);
}

ZirnTaskResult fitCameraToContent(const ZirnTaskParams &, ZirnTaskContext &)
{
    return callOnMainThread(fitContent);
}

ZirnTaskResult fitCameraToSelection(const ZirnTaskParams &, ZirnTaskContext &)
{
    return callOnMainThread(fitSelection);
}

void fitContentIfShown()
{
    if (ops::CorvaneServiceLocator::instance().cameraBridge())
        callBridge(fitContent);
}

} // namespace corvane::zirn
