#pragma once

#include <QLatin1String>
#include <QList>
#include <QString>

namespace corvane::shader {

/// The GLSL files under ":/templates", read once and kept.
///
/// A line "// {{include NAME}}" stands for the file of that name, so that what several shaders
/// share is written once; a name with a folder, "shaders/item_id.glsl", is one under ":/". The
/// other "// {{...}}" lines are holes that a generator fills. Any thread.
class ShaderTemplates
{
public:
    /// A hole by its whole text, and what goes there.
    struct Filling
    {
        QLatin1String hole;
        QString text;
    };

    /// The file with its includes in place; empty, with a warning, when there is none of that name.
    [[nodiscard]] static QString load(const QString &name);

    /// A text of the caller's own with its includes in place.
    [[nodiscard]] static QString withIncludes(const QString &text);

    /// `text` with the first occurrence of each hole replaced. Holes are looked for in `text`
    /// alone: what fills one can't be taken for another.
    [[nodiscard]] static QString fill(const QString &text, const QList<Filling> &fillings);
};

} // namespace corvane::shader
