#pragma once

#include <corvane/aa/NamedStrategy.h>

namespace corvane::aa {

/// One sample a pixel; the field itself says how much of a pixel its edge covers.
class AnalyticSDFAAStrategy : public NamedStrategy
{
public:
    AnalyticSDFAAStrategy()
        : NamedStrategy(QStringLiteral("sdf-analytic"))
    {}

    bool wantsAnalyticEdgeAA() const override { return true; }
};

} // namespace corvane::aa
