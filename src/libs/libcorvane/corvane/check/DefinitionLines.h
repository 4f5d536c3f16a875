#pragma once

#include <corvane/model/SceneWarning.h>

#include <QHash>
#include <QPair>

namespace corvane::model {
struct ParseResult;
}
namespace corvane::shader {
struct DefinitionFault;
}

namespace corvane::check {

/// Where the definitions that a scene file brings along stand in it, so that a fault of one can be
/// told by its line in the file. Only a file that has some is read again.
class DefinitionLines
{
public:
    /// Knows nothing.
    DefinitionLines() = default;
    explicit DefinitionLines(const model::ParseResult &file);

    /// The fault with its line in the file, as far as that is known.
    model::SceneWarning warningOf(const shader::DefinitionFault &fault) const;

private:
    struct Place
    {
        int keyLine = 0;
        QList<int> textLines; ///< of a text below its key; empty for one on the key's own line

        int lineOf(int lineInText) const; ///< 0 when it is none of the text
    };

    QHash<QPair<QString, QString>, Place> m_places; ///< by the definition's id and the key
};

} // namespace corvane::check
