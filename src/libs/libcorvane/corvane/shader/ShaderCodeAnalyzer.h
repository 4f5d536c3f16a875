#pragma once

#include <QString>

namespace corvane::registry {
class Definition;
} // namespace corvane::registry

namespace corvane::shader {

/// What the generator has to know of a definition's text. Stateless; any thread.
class ShaderCodeAnalyzer
{
public:
    /// The first function of `code` that returns float or vec3 and is named sdf_, op_, mod_, pam_
    /// or field_ something, in any case; empty when there is none. Definitions put their main
    /// function first among such names, or name their helpers otherwise.
    [[nodiscard]] static QString extractFunctionName(const QString &code);

    /// `code` with every whole word `oldName` replaced, so that recursive calls follow.
    [[nodiscard]] static QString renameFunctionInCode(const QString &code, const QString &oldName,
                                                      const QString &newName);

    /// The arguments of a call as a wrapper writes it, taken from consecutive slots: "params.x,
    /// vec3(params.y, params.z, params.w)". Children take no slot. A parameter that would begin
    /// past the last slot is left out with all that follow it, with a warning. A colour takes four
    /// slots, also where the function asks for its three components only.
    /// @param slotCount  set to the number of slots used
    [[nodiscard]] static QString buildParamList(const registry::Definition &definition,
                                                int &slotCount);

    /// How many numbers the argument of a parameter has: fewer than its slots for a colour that is
    /// a vec3 in the function.
    /// @param index  among the parameters that are no children
    [[nodiscard]] static int argumentWidth(const registry::Definition &definition, qsizetype index);

    /// The component of the packed parameters that holds a slot, "params.x" to "params2.w"; "0.0"
    /// past the end.
    [[nodiscard]] static QString getParamComponent(int slot);
};

} // namespace corvane::shader
