#pragma once

#include <corvane/registry/Definition.h>

/// A definition of that id, with nothing inferred yet.
inline corvane::registry::DefinitionPtr makeDefinition(const QString &id, const QString &shaderCode)
{
    auto definition = corvane::registry::DefinitionPtr::create();
    definition->id = id;
    definition->name = id;
    definition->category = QStringLiteral("Test");
    definition->shaderCode = shaderCode;
    return definition;
}
