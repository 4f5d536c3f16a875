#pragma once

#include <corvane/expr/CompileContext.h>

#include <QHash>
#include <QList>
#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {
class Corvane;
class LogicalScene;
struct LogicalInstance;
struct SceneItem;
} // namespace corvane::model

namespace corvane::zirn {

/// An expression that can't be resolved, and where it stands.
struct SceneExprError
{
    QString path{};     ///< names from the top of the tree, "Body/Bore"; "varset" of a variable
    QString itemId{};   ///< empty for a variable
    QString location{}; ///< the parameter, "translate.offset" in a wrapper, "varset:Default.width"
    QString expression{};
    QString error{};

    bool operator==(const SceneExprError &) const = default;
};

/// All expressions of a scene that do not compile: in the parameters and wrappers of the tree's
/// nodes, in items of the document that the tree did not make, and in variables. Main thread.
QList<SceneExprError> scanSceneErrors(const model::Corvane &scene,
                                      const model::LogicalScene *logicalScene);

/// The names that the expressions of a scene may use, as its editors offer them: those of the
/// document, and of the tree the names that one node alone has, compiled or not.
expr::CompileContext editorScope(const model::Corvane &scene,
                                 const model::LogicalScene *tree = nullptr);

/// The names from the top down to a node, or to an item of the document, with "/" between them.
QString nodePath(const model::LogicalScene &tree, const QUuid &id);

// Where expressions stand: location to text

using ExpressionSites = QList<std::pair<QString, QString>>;

ExpressionSites expressionsIn(const QVariantMap &params, const QString &prefix = {});
ExpressionSites expressionsIn(const model::LogicalInstance &node);
ExpressionSites expressionsIn(const model::SceneItem &item);
/// "varset:Default.width"; the unnamed varset is empty.
QString variableLocation(const QString &varset, const QString &name);
/// Of all variables; the location names varset and variable.
ExpressionSites variableExpressions(const model::Corvane &scene);

} // namespace corvane::zirn
