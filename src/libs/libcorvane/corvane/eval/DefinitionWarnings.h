#pragma once

#include <corvane/shader/DefinitionFault.h>

#include <QList>
#include <QSet>
#include <QStringList>

namespace corvane::model {
class Corvane;
}
namespace corvane::registry {
class Registry;
}

namespace corvane::eval {

/// What stands against the definitions of these ids: as the renderer's compiler sees them, and
/// where that finds nothing, as the field language does. Nothing is evaluated, and what is compiled
/// is bounded. Costs one compile when there is nothing wrong, nothing without ids. The thread of
/// the registry.
[[nodiscard]] QList<shader::DefinitionFault> definitionFaults(const registry::Registry &registry,
                                                              const QStringList &definitionIds);

/// The same for the definitions that a document brings along, which the registry must hold, as it
/// does from loading on.
/// @param compiled  those that compile as far as is known, in a shader and in a field: of them only
///                  what no compiler minds is told, at no cost
[[nodiscard]] QList<shader::DefinitionFault> definitionFaults(const model::Corvane &scene,
                                                              const QSet<QString> &compiled = {});

} // namespace corvane::eval
