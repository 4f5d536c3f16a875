#pragma once

#include <corvane/aa/NamedStrategy.h>

namespace corvane::aa {

/// One sample a pixel, and nothing after it.
class NoneStrategy : public NamedStrategy
{
public:
    NoneStrategy()
        : NamedStrategy(QStringLiteral("none"))
    {}
};

} // namespace corvane::aa
