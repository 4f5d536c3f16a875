#pragma once

#include <corvane/check/SceneSource.h>
#include <corvane/model/SceneWarning.h>

namespace corvane::expr {
class ExpressionManager;
}

namespace corvane::model {
class Corvane;
struct ParseResult;
} // namespace corvane::model

namespace corvane::check {

/// Finds what the author of a scene file most likely does not mean. The readers take nearly
/// everything: what they do not know is kept for the next save, and what is wrong has its default.
/// So a scene with a slip is meshed all the same, and only these warnings tell.
///
/// The checks look at the file as it was parsed, not at the document made of it, since only there
/// is what was dropped. They are linear in the file; the text is read again only for the lines of
/// what was found. Definitions of the file have to be registered. Main thread.
class SceneCheck
{
public:
    /// Who reads the file: of version 2 the commands take the geometry alone, while an editor has
    /// its variables and settings too.
    enum class Reader { Command, Editor };

    explicit SceneCheck(const model::ParseResult &file, Reader reader = Reader::Command);

    /// What the reader of the file has said of it since.
    void addReaderWarnings(const QStringList &warnings);
    /// Values of --params, before they are applied.
    void checkOverrides(const model::Corvane &scene, const QVariantMap &values);
    /// The expressions of the document that was made of the file, once they are evaluated.
    void checkExpressions(const model::Corvane &scene, const expr::ExpressionManager &expressions);
    /// The same where nothing is to be evaluated in the document itself.
    void checkExpressions(const model::Corvane &scene);

    QList<model::SceneWarning> warnings() const;

private:
    void checkUnreadSettings();

    SceneSource m_source;
    Reader m_reader;
    QString m_text;
    Findings m_findings;
};

} // namespace corvane::check
