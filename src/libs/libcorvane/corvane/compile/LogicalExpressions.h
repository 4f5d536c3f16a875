#pragma once

#include <corvane/expr/CompileContext.h>
#include <corvane/expr/NameRewriter.h>

#include <QList>
#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace corvane::component {
struct ComponentDefinition;
}

namespace corvane::model {

class Corvane;
class LogicalScene;

/// The expressions of a logical scene: in the parameters and wrappers of its nodes, and in its
/// components.
class LogicalExpressions
{
public:
    explicit LogicalExpressions(LogicalScene &scene)
        : m_scene(scene)
    {}

    /// Makes every expression that reads a variable read it under its new name. A name that a
    /// component gives to a value of its own is left alone in that component's promotions.
    /// @param document  whose variable it is; it may have been renamed there already
    void renameVariable(const QString &oldName, const QString &newName, const Corvane &document);
    /// The same for an item of the document that has its new name already.
    void renameItem(const QString &oldName, const QString &newName, const Corvane &document);

    /// Nodes that changed, and that place no component.
    QList<QUuid> changedNodes() const { return m_changedNodes; }
    /// Whether a component or what one is given changed.
    bool haveComponentsChanged() const { return m_haveComponentsChanged; }

private:
    struct Rename
    {
        QString oldName;
        QString newName;
        expr::RenamedKind kind;
        expr::CompileContext context;

        QString apply(const QString &text) const;
        /// Whether any of the values changed.
        bool apply(QVariantMap &values) const;
    };

    void rename(const Rename &rename);
    void renameInNodes(const Rename &rename);
    void renameInComponents(const Rename &rename);
    static bool renameInStructure(component::ComponentDefinition &definition, const Rename &rename);
    static bool renameInPromotions(component::ComponentDefinition &definition,
                                   const Rename &rename);

    LogicalScene &m_scene;
    QList<QUuid> m_changedNodes;
    bool m_haveComponentsChanged = false;
};

} // namespace corvane::model
