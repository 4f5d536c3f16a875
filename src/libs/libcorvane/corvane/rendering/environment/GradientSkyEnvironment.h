#pragma once

#include <corvane/rendering/environment/Environment.h>

namespace corvane::rendering {

/// `groundColor` at the horizon and below, which turns into `skyColor` overhead. No lights.
class GradientSkyEnvironment : public Environment
{
public:
    GradientSkyEnvironment();

protected:
    [[nodiscard]] Parameters parameters() const override;
};

} // namespace corvane::rendering
