#pragma once

#include <corvane/model/Instance.h>
#include <corvane/model/LogicalInstance.h>

#include <QHash>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace corvane::model {

class Corvane;

/// How the fields of a logical node show in its compiled items: the same for a full compile and for
/// an edit.
///
/// One lives as long as a compile, or an edit; it keeps what it looked up.
class NodeCompilation
{
public:
    explicit NodeCompilation(const Corvane &document)
        : m_document(document)
    {}

    /// The parameters of a core, as they are stored, but its children.
    /// @param before  the parameters that the item had: an expression that stays the same keeps the
    ///                value that it was found to have, since nobody would evaluate it again
    static QVariantMap coreParameters(const LogicalInstance &node, const QVariantMap &before = {});
    /// The parameters of a wrapper but its children: the definition's defaults, the node's values
    /// over them. The transform that is connected is not applied yet.
    QVariantMap wrapperParameters(const WrapperValues &values, const QVariantMap &before = {});
    /// Material and modifiers. A catalogue material that the node names replaces its own: the
    /// document's, else the library's. An item of the node's own keeps what it has of the latter.
    void fillSurface(Instance &core, const LogicalInstance &node);

    /// "translate", "rotate" and "scale" apply the node's own transform, whatever their values say;
    /// the last takes one factor, that of x, and 1 in place of 0. Where the value is an expression,
    /// that drives the wrapper, and the transform is its value until it is evaluated.
    static void applyConnectedTransform(QVariantMap &params, const QString &wrapperId,
                                        const LogicalInstance &node);
    /// The expression that drives this part of the node's transform; empty where none does.
    static QString connectedExpression(const LogicalInstance &node, const QString &wrapperId);
    /// The node's tags but the selection, which is the outer item's, and "compiled"; or those of
    /// the node's own item in its place.
    static QSet<QString> coreTags(const LogicalInstance &node);
    /// The node's own item as it is to be, without parameters and what fillSurface() gives.
    static Instance ownCore(const LogicalInstance &node);
    /// The definition's defaults, as a wrapper stores them.
    const QVariantMap &defaultsOf(const QString &wrapperId);
    Material materialOf(const LogicalInstance &node);

private:
    struct KnownMaterial
    {
        std::optional<Material> ofDocument{};
        std::optional<Material> ofLibrary{};
    };
    const KnownMaterial &knownMaterial(const QUuid &id);

    const Corvane &m_document;
    QHash<QString, QVariantMap> m_defaults; ///< as stored parameters
    QHash<QUuid, KnownMaterial> m_materials;
};

} // namespace corvane::model
