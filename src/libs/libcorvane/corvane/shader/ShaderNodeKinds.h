#pragma once

#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QLatin1String>
#include <QList>
#include <QString>
#include <optional>
#include <span>

namespace corvane::registry {
class Definition;
class Registry;
} // namespace corvane::registry

namespace corvane::shader {

class ShaderIndexManager;

/// The texts of one kind of node whose definitions become GLSL functions. CSG operators that come
/// with the program have none: they are a fixed table in the shader. A user's are called.
///
/// In the templates %1 is the index, except where said.
struct ShaderNodeKind
{
    GpuNodeType type;
    QLatin1String functionsBanner;
    QLatin1String definitionWords; ///< "primitive definitions"
    QLatin1String functionComment; ///< %1 display name, %2 index
    QLatin1String functionSuffix;
    QLatin1String namePrefix;  ///< of a user's names
    QLatin1String missingName; ///< what could not be extracted: "function name"
    QLatin1String wrappersBanner;
    QLatin1String wrapperName; ///< %1 index
    QLatin1String wrapper;     ///< %1 id, %2 index, %3 function, %4 separator, %5 arguments
    QLatin1String dispatchBanner;
    QLatin1String dispatcher; ///< %1 the cases
    QLatin1String dispatchCase;
    bool isOfUsersOnly = false; ///< nothing is written for definitions of the program
};

/// Primitives, transforms, modifiers, position-aware modifiers, CSG operators: the order of the
/// text.
[[nodiscard]] std::span<const ShaderNodeKind> shaderNodeKinds();

/// The indices of one kind's active definitions for which functions are written, ascending.
[[nodiscard]] QList<int> writtenIndices(const ShaderNodeKind &kind,
                                        const ShaderIndexManager &indices,
                                        const registry::Registry &registry);

/// A definition's function as the shader has it.
struct ShaderFunction
{
    QString name; ///< with the suffix of its index
    QString code;
    int firstLine = 1;                   ///< line of the definition's text that the code begins on
    QHash<QString, QString> userNames{}; ///< what names in the code are called in that text
};

/// The main function of a definition as its text has it: the first of a known prefix, else what its
/// signature was read off; empty when it has none.
[[nodiscard]] QString mainFunctionName(const registry::Definition &definition);

/// The name that a definition's main function gets in the shader; none when it has no such
/// function.
[[nodiscard]] std::optional<QString> shaderFunctionName(const registry::Definition &definition,
                                                        const ShaderNodeKind &kind, int index);

/// The same with the code, in which names of users are mangled.
[[nodiscard]] std::optional<ShaderFunction> shaderFunction(const registry::Definition &definition,
                                                           const ShaderNodeKind &kind, int index);

/// `text` without the characters that would end a comment line.
[[nodiscard]] QString commentText(const QString &text);

} // namespace corvane::shader
