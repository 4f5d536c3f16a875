#pragma once

#include <eval/internal/codegen/CodeUnit.h>

namespace eval::gpu {

/// What the functions of one shader share.
class GlslUnit : public internal::CodeUnit
{
public:
    /// Texts beyond this cost a compiler seconds and more.
    static constexpr qsizetype statementLimit = 50'000;

    explicit GlslUnit(const internal::StructRegistry &structs);

    bool isVariableType(Type type) const override;
    /// The value of a variable that was given none.
    QByteArray defaultText(Type type, const QString &structName);
    /// Whether the rounds of a loop have to be counted, because its text does not bound them.
    bool mustCount(const internal::AstNode &loop) { return !areRoundsFew(loop); }

protected:
    QByteArray typeName(Type type) const override;
    QByteArray structTail(const internal::StructDef &definition) override;
};

} // namespace eval::gpu
