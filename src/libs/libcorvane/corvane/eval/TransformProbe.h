#pragma once

#include <corvane/shader/SDFNode.h>

#include <eval/Program.h>

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QVector3D>

#include <array>
#include <optional>

namespace corvane::model {
class Instance;
}
namespace corvane::registry {
class Definition;
}

namespace corvane::eval {

/// One step of a chain of position transforms.
struct TransformStep
{
    QSharedPointer<const registry::Definition> definition;
    std::array<float, shader::parameterSlotCount> parameters{};
};

/// Answers where a point goes through a chain of position transforms, by the very code that the
/// field uses.
///
/// A chain is compiled once; another point through the same chain only sets an input. One thread at
/// a time.
class TransformProbe
{
public:
    /// An instance's parameters as its node has them.
    static std::array<float, shader::parameterSlotCount>
    packParameters(const model::Instance &instance, const registry::Definition &definition);

    /// The point after the first step, the second, and so on; the point itself for no steps.
    /// Nothing when the chain does not compile, which is logged once, or faults at this point.
    std::optional<QVector3D> evaluateChain(const QList<TransformStep> &steps,
                                           const QVector3D &point);

private:
    struct CachedProgram
    {
        ::eval::Program program; ///< not valid when the compile failed
        ::eval::Handle input = 0;
        ::eval::Handle output = 0;
    };

    static QString chainText(const QList<TransformStep> &steps);
    static CachedProgram compile(const QString &text);

    QHash<QString, CachedProgram> m_programs; ///< by their text
};

} // namespace corvane::eval
