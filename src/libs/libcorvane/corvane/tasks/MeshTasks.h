#pragma once

#include <corvane/zirn/ZirnTaskParams.h>
#include <corvane/zirn/ZirnTaskResult.h>

namespace batch {
class BatchQueue;
}

namespace corvane::zirn {

class ZirnTaskContext;

// The tasks on meshes: exports that are measured, and benches. They work on files, not on the scene
// that is open. On a plan's thread, which they block.

ZirnTaskResult exportMesh(const ZirnTaskParams &arguments, ZirnTaskContext &context);
ZirnTaskResult runBench(const ZirnTaskParams &arguments, ZirnTaskContext &context);
ZirnTaskResult queryBench(const ZirnTaskParams &arguments, ZirnTaskContext &context);
ZirnTaskResult compareBench(const ZirnTaskParams &arguments, ZirnTaskContext &context);

/// The queue to which "mesh.bench.run" submits; without one it fails. Main thread; null before the
/// queue goes away.
void setBenchQueue(batch::BatchQueue *queue);

} // namespace corvane::zirn
