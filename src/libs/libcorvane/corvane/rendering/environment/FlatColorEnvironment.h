#pragma once

#include <corvane/rendering/environment/Environment.h>

namespace corvane::rendering {

/// One colour in all directions: `color`. No lights.
class FlatColorEnvironment : public Environment
{
public:
    FlatColorEnvironment();

protected:
    [[nodiscard]] Parameters parameters() const override;
};

} // namespace corvane::rendering
