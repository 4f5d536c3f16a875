#pragma once

#include <eval/internal/codegen/AssignmentEmitter.h>

namespace eval::internal {

/// What changes variables, in C++.
class CodegenAssignments : public AssignmentEmitter
{
public:
    using AssignmentEmitter::AssignmentEmitter;

protected:
    CodeValue readTarget(const Target &target) override;
    CodeValue writeTarget(const Target &target, const CodeValue &value) override;
};

} // namespace eval::internal
