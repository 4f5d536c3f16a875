#pragma once

#include <corvane/rendering/post/BasePostEffect.h>

#include <cmath>

namespace corvane::rendering {

/// Multiplies the scene's light by 2 to the power of `ev`. Inactive at 0.
class ExposureEffect : public BasePostEffect
{
public:
    using BasePostEffect::BasePostEffect;

    bool isActive() const override { return BasePostEffect::isActive() && value(0) != 0.0f; }

protected:
    QByteArray block() const override { return paddedBlock({std::exp2(value(0))}); }
};

} // namespace corvane::rendering
