#pragma once

#include <corvane/check/DefinitionLines.h>
#include <corvane/model/SceneWarning.h>

#include <QSet>
#include <QSharedPointer>
#include <QString>
#include <QVariantMap>

#include <memory>

namespace corvane::check {
class SceneCheck;
}
namespace corvane::expr {
class ExpressionManager;
}
namespace corvane::model {
class Corvane;
struct ParseResult;
} // namespace corvane::model
namespace corvane::shader {
struct DefinitionFault;
}

/// Opens a scene for a command and tells on standard error what in it is most likely not meant,
/// each once. The checks of a command are collected, and told together before the work begins:
///
///     SceneWarnings warnings;
///     const auto scene = warnings.open(path);     // null: it could not be read
///     ... overrides, evaluation ...
///     warnings.tell(*scene, expressions);
///     warnings.print(result.warnings);            // what comes of the work
class SceneWarnings
{
public:
    SceneWarnings();
    ~SceneWarnings();

    /// As Corvane::loadFromFile(), less the log of warnings.
    QSharedPointer<corvane::model::Corvane> open(const QString &path);
    /// A file that is to be edited, whose definitions are not registered. All its warnings are
    /// printed: nothing is evaluated in its document.
    corvane::model::ParseResult openToEdit(const QString &path);
    /// Values of --params, before they are applied to the scene.
    void checkOverrides(const corvane::model::Corvane &scene, const QVariantMap &values);
    /// Prints what the file, the overrides and the evaluated expressions gave. The text of the
    /// file is let go.
    void tell(const corvane::model::Corvane &scene,
              const corvane::expr::ExpressionManager &expressions);

    /// Prints those that were not printed before.
    void print(const QList<corvane::model::SceneWarning> &warnings);
    /// The same of faults of definitions that the file brings along.
    void print(const QList<corvane::shader::DefinitionFault> &faults);
    /// A fault for an error that is told by it: "line 12, definitions.egg.shaderCode: ..."
    QString textOf(const corvane::shader::DefinitionFault &fault) const;

private:
    enum class Use { Command, Edit };
    corvane::model::ParseResult read(const QString &path, Use use);

    std::unique_ptr<corvane::check::SceneCheck> m_check;
    corvane::check::DefinitionLines m_definitionLines;
    QSet<QString> m_told;
};
