#pragma once

#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QList>
#include <QString>
#include <QUuid>

namespace corvane::model {
class Corvane;
}

namespace corvane::shader {
class SDFShaderGenerator;
}

namespace corvane::render {

/// Flattens instances of the document into the SDFNode array that the evaluators walk.
///
/// The expression of the field is a graph: an instance that stands in several places becomes as
/// many nodes. Shared children that double at every level would grow without bound, so a build
/// ends, with an error and no nodes, past nodeLimit. A build needs no call stack, however deep the
/// graph is.
///
/// Refers to the generator for the indices of definitions. One instance serves one thread, that of
/// the document.
class SDFNodeBuilder
{
public:
    /// The most nodes that one scene may expand to.
    static constexpr int nodeLimit = 65536;

    explicit SDFNodeBuilder(const shader::SDFShaderGenerator *generator);

    /// The nodes of a domain, or with a null id of the items in none: those roots of the scene that
    /// are in the domain, or else the items that no other item there lists as a child. Proxied
    /// items are no roots. Nodes carry the transform of the groups around their instance.
    /// @return the index of the first root, which links to the others by `nextSibling`; -1 for
    /// nothing
    int buildFromDomain(const model::Corvane *scene, const QUuid &domainId);

    /// buildFromDomain() over the items of a domain that the caller knows already.
    int buildFromItems(const model::Corvane *scene, const QList<QUuid> &items);

    /// The nodes of a scene without domains: its roots, or all its items when it has no list of
    /// roots. Transforms are the identity, and a proxied instance is dropped wherever it stands.
    int buildWithoutDomains(const model::Corvane *scene);

    [[nodiscard]] const QList<shader::SDFNode> &nodes() const { return m_nodes; }
    /// The instance that each node stands for, parallel to nodes().
    [[nodiscard]] const QList<QUuid> &itemIds() const { return m_itemIds; }
    /// Instance id to the index of its first node.
    [[nodiscard]] const QHash<QUuid, int> &nodeIndexById() const { return m_nodeIndexById; }
    /// Why the last build was refused; empty when it was not.
    [[nodiscard]] const QString &error() const { return m_error; }

    /// The sentence of a scene past nodeLimit.
    [[nodiscard]] static QString tooManyNodesError();

private:
    struct Settings;
    class Flattening;

    void clear();
    int build(const model::Corvane &scene, const QList<QUuid> &roots, const Settings &settings);

    const shader::SDFShaderGenerator *m_generator = nullptr;
    QList<shader::SDFNode> m_nodes;
    QList<QUuid> m_itemIds;
    QHash<QUuid, int> m_nodeIndexById;
    QString m_error;
};

} // namespace corvane::render
