#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace corvane::shader {

/// Which lines of a generated shader are whose: noted while the text is written, so that a message
/// of the compiler can be told in terms of what a user wrote.
class ShaderSourceMap
{
public:
    /// Lines that come from one definition.
    struct Part
    {
        QString definitionId;
        QString key; ///< of the definition: "shaderCode", "blend", or "parameters" for its call
        int firstLine = 1; ///< in the shader, from 1
        int lineCount = 0;
        int codeLine = 1;  ///< line of the key's text that the first line is; may lie before it
        int codeLines = 0; ///< lines of the key's text; 0 when the lines are none of the user's
        QHash<QString, QString> userNames{}; ///< the user's name for a name in the shader

        /// The line of the key's text, from 1, that a line of the shader is; 0 when it is none.
        [[nodiscard]] int lineInCode(int shaderLine) const;
        /// A message of the compiler with the names that the user gave.
        [[nodiscard]] QString inUsersWords(const QString &message) const;
    };

    void append(const Part &part) { m_parts.append(part); }
    /// The parts of a text that begins on line `firstLine` of this one.
    void append(const ShaderSourceMap &other, int firstLine);

    /// Whose a line is; null when it is the program's own.
    [[nodiscard]] const Part *find(int shaderLine) const;

private:
    QList<Part> m_parts; ///< in the order of their lines
};

/// A text that grows together with the map of its lines.
class MappedText
{
public:
    void append(const QString &text);
    /// Text whose lines are of `part`; fills in where they stand. Begins on a line of its own.
    void append(const QString &text, ShaderSourceMap::Part part);
    void append(const MappedText &other);

    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] const ShaderSourceMap &map() const { return m_map; }
    [[nodiscard]] int line() const { return m_line; } ///< on which the next character stands

private:
    QString m_text;
    ShaderSourceMap m_map;
    int m_line = 1;
};

} // namespace corvane::shader
