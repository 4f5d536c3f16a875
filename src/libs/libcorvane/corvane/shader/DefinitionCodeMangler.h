#pragma once

#include <QHash>
#include <QSet>
#include <QString>

namespace corvane::registry {
class Definition;
}

namespace corvane::shader {

/// Renames what a user's definition declares, so that no name in it can meet a keyword, a built-in
/// function, a name of the templates or another definition: `float sdf_a(vec3 p, float main)`
/// becomes `float u3_sdf_a(vec3 u3_p, float u3_main)` under the prefix "u3_".
///
/// Renamed are functions, parameters, local and global variables, structs, macros and those struct
/// fields that are no swizzle. Left alone are comments, member accesses to vectors, and whatever
/// the text does not declare itself (types, built-in functions). Functions and variables are told
/// apart: with a local `length` in scope, `length(p)` still calls the built-in.
///
/// The result holds ASCII identifiers only, never with two underscores in a row, so it is as good
/// for GLSL as for the field language and for C++. Different names stay different, and every line
/// stays where it is. The work is linear in the text. Pure: any thread.
class DefinitionCodeMangler
{
public:
    /// @param code    a definition's text, with or without comments
    /// @param prefix  begins every new name: a letter, then letters and digits, at most one "_" at
    ///                the end. Texts that meet in one output need different prefixes.
    /// @param kept    declared names that must survive as they are
    DefinitionCodeMangler(const QString &code, const QString &prefix,
                          const QSet<QString> &kept = {});

    /// Leaves everything as it is: for definitions that ship with the program.
    [[nodiscard]] static DefinitionCodeMangler passThrough(const QString &code);

    /// The mangler that fits a definition: passThrough for one from resources, else renaming.
    [[nodiscard]] static DefinitionCodeMangler forDefinition(const registry::Definition &definition,
                                                             const QString &prefix);

    /// The whole text after renaming.
    [[nodiscard]] const QString &code() const { return m_result; }

    /// What a function of the text is called in code(): itself when the text declares none of that
    /// name.
    [[nodiscard]] QString functionName(const QString &name) const;

    /// The name in the original text of each name that was given in code().
    [[nodiscard]] const QHash<QString, QString> &originalNames() const { return m_originalNames; }

    /// `prefix` and `name` joined into one safe identifier, as declared names are.
    [[nodiscard]] static QString mangledName(const QString &prefix, const QString &name);

private:
    DefinitionCodeMangler() = default;

    QString m_prefix;
    QString m_result;
    QSet<QString> m_functions;
    QHash<QString, QString> m_originalNames;
};

} // namespace corvane::shader
