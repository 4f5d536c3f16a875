#pragma once

#include <QSharedPointer>
#include <QString>
#include <QUuid>

namespace corvane::model {
class Corvane;
class LogicalScene;
} // namespace corvane::model
namespace corvane::ops {
class CorvaneOpExecutor;
}

namespace corvane::zirn {

/// The scene that is open, as the service locator has it. Main thread.
struct SceneAccess
{
    QSharedPointer<model::Corvane> document{};
    model::LogicalScene *tree = nullptr;        ///< none for a scene that has only a document
    ops::CorvaneOpExecutor *executor = nullptr; ///< none where the scene can't be edited

    static SceneAccess current();
    /// Whether this is still what is open: a plan's thread may come back after a scene has gone.
    bool isCurrent() const;

    /// The id under which tree or document have what `text` names: itself; of a node's core, the
    /// node; of a node that an earlier run compiled and that is none any more, what its core
    /// became. Null when there is nothing of it.
    QUuid resolve(const QString &text) const;
    bool isNode(const QUuid &id) const;
};

} // namespace corvane::zirn
