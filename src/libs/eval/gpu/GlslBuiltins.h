#pragma once

#include <eval/internal/codegen/BuiltinEmitter.h>

namespace eval::gpu {

/// Calls of built-in functions in GLSL. Most have its name and its meaning; a table lists those
/// whose result GLSL leaves open somewhere, which a function of ours computes.
class GlslBuiltins : public internal::BuiltinEmitter
{
public:
    using BuiltinEmitter::BuiltinEmitter;
    using Builtin = internal::Builtin;
    using CodeValue = internal::CodeValue;

    bool writesArgumentsAgain(const Builtin &builtin) const override;

protected:
    QByteArray functionOf(const Builtin &row) const override;
    Emitted perLane(const Builtin &row, const Values &a) override;
    Emitted geometric(const Builtin &row, const Values &a, bool givesVector) override;
    Emitted crossProduct(const Builtin &row, const Values &a) override;
    Emitted relation(const Builtin &row, const Values &a) override;
    Emitted test(const Builtin &row, const Values &a) override;
    QByteArray anyOrAll(const Builtin &row, const CodeValue &lanes) override;
    QByteArray negation(const Builtin &row, const CodeValue &lanes) override;
    QByteArray outerProduct(const Values &a, Type type) override;
    QByteArray floatBits(const Builtin &row, const QByteArray &number) override;
    QByteArray bitsAsFloat(const Builtin &row, const CodeValue &bits, Type type) override;
};

} // namespace eval::gpu
