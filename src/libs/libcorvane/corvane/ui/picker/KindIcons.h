#pragma once

#include <corvane/registry/Definition.h>

#include <QString>

namespace corvane::ui {

/// The name of the icon for a definition: its own where there is one, else that of its sort.
QString iconOfDefinition(const registry::Definition &definition);
/// For an item of the scene: by its definition, or by its type.
QString iconOfItem(const QString &itemType, const QString &definitionId, bool isContainer,
                   bool isComponent);

} // namespace corvane::ui
