#pragma once

#include <corvane/aa/NamedStrategy.h>

namespace corvane::aa {

/// A larger picture, made smaller at the end: it smooths everything, and costs as much more.
class SSAAStrategy : public NamedStrategy
{
public:
    SSAAStrategy(const QString &id, float scale)
        : NamedStrategy(id)
        , m_scale(scale)
    {}

    FrameSetup frameSetup(qint64) const override { return {.renderScale = m_scale}; }

private:
    float m_scale;
};

} // namespace corvane::aa
