#pragma once

#include <QtGlobal>

namespace corvane::rendering {

/// The most that one picture may take of a device.
struct RenderBudget
{
    qint64 maxOffscreenPixels = 8388608;
    int maxSamples = 4;
    qint64 maxNodeBytes = 16777216;
    qint64 maxAccumPixels = 8388608;

    bool operator==(const RenderBudget &) const = default;
};

} // namespace corvane::rendering
