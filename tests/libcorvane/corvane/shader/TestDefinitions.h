#pragma once

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>

/// Definitions for tests that are about what becomes of them, not about how they are read.
namespace testing {

using corvane::registry::Definition;
using corvane::registry::DefinitionPtr;
using corvane::registry::NodeType;
using corvane::registry::ParameterDef;
using corvane::registry::SDFParameterType;

/// As a user's scene file brings it; shipped() makes it one of the program's own.
inline DefinitionPtr definition(const QString &id, NodeType type, const QString &code,
                                const QList<ParameterDef> &parameters = {})
{
    auto made = DefinitionPtr::create();
    made->id = id;
    made->name = id;
    made->category = QStringLiteral("Test");
    made->nodeType = type;
    made->shaderCode = code;
    made->parameters = parameters;
    return made;
}

inline DefinitionPtr shipped(const DefinitionPtr &made)
{
    made->sourcePath = QStringLiteral(":/test/") + made->id;
    return made;
}

inline ParameterDef parameter(const QString &name, SDFParameterType type = SDFParameterType::Float,
                              const QVariant &defaultValue = {})
{
    ParameterDef made;
    made.name = name;
    made.displayName = name;
    made.type = type;
    made.defaultValue = defaultValue;
    return made;
}

/// The parameter that every operator has.
inline ParameterDef children()
{
    return parameter(QStringLiteral("children"), SDFParameterType::SDFChildren);
}

} // namespace testing
