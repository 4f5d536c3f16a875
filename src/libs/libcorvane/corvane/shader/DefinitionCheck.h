#pragma once

#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/shader/DefinitionFault.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <QStringList>

namespace corvane::shader {

/// Finds the definitions that the renderer cannot draw: each is compiled as the shader that a scene
/// of it alone would have, so that no definition is blamed for what stands in another.
///
/// All are compiled together first, which is quick when nothing is wrong, and a set that fails is
/// halved. Logs nothing of its own. One thread at a time; the registry must outlive it.
class DefinitionCheck
{
public:
    /// So many faults are reported at most.
    static constexpr int mostFaults = 20;

    explicit DefinitionCheck(const registry::Registry &registry);

    /// The faults of those of the registry's definitions.
    [[nodiscard]] QList<DefinitionFault> check(const QStringList &ids);

private:
    [[nodiscard]] bool findFaultOfFunction(const QString &id);
    void compile(const QStringList &ids);
    [[nodiscard]] QList<DefinitionFault> faultElsewhere(const QString &id,
                                                        const ValidationResult &result) const;

    const registry::Registry &m_registry;
    SDFShaderGenerator m_generator;
    QList<DefinitionFault> m_faults;
};

} // namespace corvane::shader
