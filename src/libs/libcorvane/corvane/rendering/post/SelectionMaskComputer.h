#pragma once

#include <corvane/shader/SDFNode.h>

#include <QBitArray>
#include <QList>
#include <QSet>
#include <QUuid>

#include <functional>

namespace corvane::rendering {

/// Which nodes of the field show that something is selected.
namespace SelectionMaskComputer {

/// One bit a node: set for those of the selected instances and all below them. Parents stand before
/// their children in the array, so that one walk over it is enough.
/// @param itemOf  the instance of a node; null for a node that stands for none
QBitArray computeSubtreeMask(const QList<shader::SDFNode> &nodes,
                             const std::function<QUuid(uint)> &itemOf, const QSet<QUuid> &selected);

} // namespace SelectionMaskComputer

} // namespace corvane::rendering
