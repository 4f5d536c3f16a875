#pragma once

#include <eval/internal/BackendCode.h>

namespace eval::internal {

/// Fields as machine code, by way of C++ and the system's compiler.
class NativeBackend : public CodeGenerator
{
public:
    /// Always: whether there is a compiler shows when one is needed.
    bool isAvailable() const override { return true; }
    bool supports(const CompiledProgram &program) const override;
    Result<QSharedPointer<const BackendCode>>
    generate(const CompiledProgram &program) const override;
};

} // namespace eval::internal
