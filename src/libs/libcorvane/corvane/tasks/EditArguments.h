#pragma once

#include <corvane/tasks/TaskRow.h>

namespace corvane::zirn {

// From the arguments of a task to those of its op; see OpRow::Prepare.

std::optional<QVariantMap> prepareItemAdd(const SceneAccess &access, const QVariantMap &arguments,
                                          QString &cause);
/// The parameters that a new node is given with its type data.
std::optional<ops::CorvaneOp> parametersOfNewItem(const QVariantMap &arguments,
                                                  const QUuid &createdId);
/// The axes that are given, as maps of "translate", "rotate" and "scale".
std::optional<QVariantMap> prepareTransform(const SceneAccess &access, const QVariantMap &arguments,
                                            QString &cause);
/// That a group does not move what stands in it, where that is so.
QString noteGroupTransform(const SceneAccess &access, const QVariantMap &arguments,
                           const QUuid &itemId);
std::optional<QVariantMap> prepareItemMaterial(const SceneAccess &access,
                                               const QVariantMap &arguments, QString &cause);
/// The parameters of the call that nothing reads.
QString noteUnreadParameters(const SceneAccess &access, const QVariantMap &arguments,
                             const QUuid &itemId);
std::optional<QVariantMap> prepareParameter(const SceneAccess &access, const QVariantMap &arguments,
                                            QString &cause);
std::optional<QVariantMap> prepareParameters(const SceneAccess &access,
                                             const QVariantMap &arguments, QString &cause);
std::optional<QVariantMap> prepareModifier(const SceneAccess &access, const QVariantMap &arguments,
                                           QString &cause);
/// See OpRow::complete.
void completeVariable(QVariantMap &arguments);
QString noteTextValue(const SceneAccess &access, const QVariantMap &arguments, const QUuid &itemId);
/// The settings of the call that nothing reads, and values that are taken for something else.
QString noteSettings(const SceneAccess &access, const QVariantMap &arguments, const QUuid &itemId);
/// What is given, over what the variable has.
std::optional<QVariantMap> prepareVariable(const SceneAccess &access, const QVariantMap &arguments,
                                           QString &cause);

} // namespace corvane::zirn
