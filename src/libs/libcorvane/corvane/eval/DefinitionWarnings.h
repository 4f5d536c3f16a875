#pragma once

#include <corvane/model/SceneWarning.h>
#include <corvane/shader/DefinitionFault.h>

#include <QList>
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
[[nodiscard]] QList<shader::DefinitionFault> definitionFaults(const model::Corvane &scene);
[[nodiscard]] QList<model::SceneWarning> definitionWarnings(const model::Corvane &scene);

} // namespace corvane::eval
