#pragma once

#include <corvane/model/LogicalScene.h>
#include <corvane/registry/ParameterDef.h>

namespace corvane::ui {

/// What the properties of a selection are: the plan that the panel builds its fields from, without
/// any widget.
struct PropertiesContent
{
    struct Section
    {
        QString title{};
        QList<registry::ParameterDef> parameters{};

        bool operator==(const Section &) const = default;
    };
    struct Wrapper
    {
        QString id{};
        QString name{};
        QList<registry::ParameterDef> parameters{};

        bool operator==(const Wrapper &) const = default;
    };

    QList<QUuid> nodes{};      ///< of the tree
    QString title{};           ///< "Gear", or "3 items"
    QString kind{};            ///< the definition's name; of several that differ none
    QString description{};     ///< the definition's, as help
    QList<Section> sections{}; ///< of parameters that all nodes have, in the definition's order
    QList<Wrapper> wrappers{}; ///< that all nodes have, in the first one's order, less those of the
                               ///< transform
    bool hasTransform = false;
    bool hasMaterial = false;
    bool isOperator = false;

    bool operator==(const PropertiesContent &) const = default;

    /// Empty nodes for a selection of nothing, or of what is no node.
    static PropertiesContent of(const model::LogicalScene &tree, const QList<QUuid> &nodes);
};

} // namespace corvane::ui
