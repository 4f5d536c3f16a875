#pragma once

#include <corvane/aa/NamedStrategy.h>

namespace corvane::aa {

/// One sample a pixel, and edges smoothed in the finished picture.
class FXAAStrategy : public NamedStrategy
{
public:
    FXAAStrategy()
        : NamedStrategy(QStringLiteral("fxaa"))
    {}

    QStringList postEffects() const override { return {QStringLiteral("fxaa")}; }
};

} // namespace corvane::aa
