#pragma once

#include <corvane/zirn/ZirnTaskParams.h>
#include <corvane/zirn/ZirnTaskResult.h>

namespace corvane::zirn {

class ZirnTaskContext;

// The tasks on the camera of the viewport: each calls a method of the camera bridge on the main
// thread. Any thread.

ZirnTaskResult resetCamera(const ZirnTaskParams &arguments, ZirnTaskContext &context);
ZirnTaskResult fitCameraToContent(const ZirnTaskParams &arguments, ZirnTaskContext &context);
ZirnTaskResult fitCameraToSelection(const ZirnTaskParams &arguments, ZirnTaskContext &context);

/// Nothing without a bridge. Main thread.
void fitContentIfShown();

} // namespace corvane::zirn
