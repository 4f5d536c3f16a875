#pragma once

#include <eval/internal/codegen/CodeUnit.h>

namespace eval::internal {

/// How many points a text computes at a time.
enum class CodegenForm {
    Point,
    Lanes ///< conditions are masks, and what is assigned is chosen lane by lane
};

/// What the bodies of one C++ translation unit share.
class CodegenUnit : public CodeUnit
{
public:
    /// g++ takes some 3 ms for a statement with a library call in it.
    static constexpr qsizetype statementLimit = 6'000;

    explicit CodegenUnit(const StructRegistry &structs, CodegenForm form = CodegenForm::Point);
    bool isForLanes() const { return m_form == CodegenForm::Lanes; }

    bool isVariableType(Type type) const override;
    bool canSay(const QByteArray &line) const override;

    /// Whether a loop has to look for a cancel in each round, because it may not end for long.
    bool mustWatch(const AstNode &loop);
    /// Whether any loop of the unit has.
    bool isWatched() const { return m_isWatched; }

protected:
    QByteArray typeName(Type type) const override;
    QByteArray structTail(const StructDef &definition) override;

private:
    CodegenForm m_form;
    bool m_isWatched = false;
};

} // namespace eval::internal
