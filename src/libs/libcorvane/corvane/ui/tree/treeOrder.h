#pragma once

#include <QList>
#include <QUuid>

namespace corvane::model {
class LogicalScene;
}

namespace corvane::ui {

/// The ids as a user reads the tree from top to bottom; what is no node of it stands last.
QList<QUuid> inTreeOrder(const model::LogicalScene &tree, const QList<QUuid> &ids);

} // namespace corvane::ui
