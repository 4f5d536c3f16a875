#pragma once

namespace eval::gpu {

/// How points are evaluated on a device.
enum class GpuLane {
    None = 0,
    Compute = 1, ///< a compute shader over storage buffers
    Fragment = 2 ///< a pass over a target with a pixel a point, for older OpenGL
};

} // namespace eval::gpu
