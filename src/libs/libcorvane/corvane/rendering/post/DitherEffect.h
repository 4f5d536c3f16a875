#pragma once

#include <corvane/rendering/post/BasePostEffect.h>

namespace corvane::rendering {

/// Noise of one step of the target's channels, so that a soft gradient shows no bands. It is a
/// function of the pixel and `frameIndex`: a still picture stays as it is. Inactive in mode 0.
class DitherEffect : public BasePostEffect
{
public:
    enum class Mode { Off = 0, Triangular = 1, Bayer = 2, InterleavedGradient = 3 };

    using BasePostEffect::BasePostEffect;

    bool isActive() const override { return BasePostEffect::isActive() && value(0) >= 0.5f; }
};

} // namespace corvane::rendering
