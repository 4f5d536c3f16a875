#pragma once

class QRhi;

namespace eval::gpu {

/// Lets graphs be compiled for Backend::Gpu: the field language itself knows no devices. Once, at
/// the start of the program; any thread. Nothing is started by it.
void registerGpuBackend();

/// Whether this machine has a device that evaluates fields. Looks for one at the first call, which
/// may take a second; the answer holds for the process. Any thread, with or without a display.
bool gpuBackendAvailable();

/// The one device of all programs, or null. It belongs to a thread of its own, on which alone it
/// may be used.
QRhi *internalQRhiHandle();

/// Releases the device for good; what was compiled for it then fails to run, and says so.
void shutdownGpu();

} // namespace eval::gpu
