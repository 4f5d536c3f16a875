#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

namespace corvane::zirn {

/// A tree of nodes as JSON describes it:
///
///     {"instances": {"ring": {"definition": "radial_repeat", "params": {"count": 8},
///                             "children": ["ball"]},
///                    "ball": {"definition": "sphere"}},
///      "roots": ["ring"]}
struct TreeDescription
{
    struct Node
    {
        QString name{};
        QString parentName{};   ///< empty at the top
        QString definitionId{}; ///< empty for a child or root that "instances" lacks, too
        QVariantMap params{};
    };

    QList<Node> nodes{}; ///< parents before their children, siblings in order
    /// What the description says that does not hold as it is written, such as that two list a
    /// child.
    QStringList notes{};
    QStringList rootNames{}; ///< as described; where that says nothing, those at the top

    /// Reads a map, or a text that holds a JSON object. A child that several list belongs to the
    /// last of them by key. On failure none, with the cause and what to do.
    static std::optional<TreeDescription> read(const QVariant &tree, QString &cause,
                                               QString &suggestion);
};

} // namespace corvane::zirn
