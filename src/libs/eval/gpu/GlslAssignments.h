#pragma once

#include <eval/internal/codegen/AssignmentEmitter.h>

namespace eval::gpu {

/// What changes variables, in GLSL.
class GlslAssignments : public internal::AssignmentEmitter
{
public:
    using AssignmentEmitter::AssignmentEmitter;

protected:
    internal::CodeValue readTarget(const Target &target) override;
    internal::CodeValue writeTarget(const Target &target,
                                    const internal::CodeValue &value) override;
};

} // namespace eval::gpu
