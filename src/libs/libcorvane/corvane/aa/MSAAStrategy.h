#pragma once

#include <corvane/aa/NamedStrategy.h>

namespace corvane::aa {

/// Several samples a pixel along the edges of triangles.
class MSAAStrategy : public NamedStrategy
{
public:
    explicit MSAAStrategy(int samples)
        : NamedStrategy(QStringLiteral("msaa-%1x").arg(samples))
        , m_samples(samples)
    {}

    FrameSetup frameSetup(qint64) const override { return {.sampleCount = m_samples}; }

private:
    int m_samples;
};

} // namespace corvane::aa
