#include <corvane/tasks/SceneErrors.h>

#include <corvane/expr/ExprCompiler.h>
#include <corvane/expr/ExprModel.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

constexpr int deepestPath = 256; ///< of a document's hierarchy, which a file may have closed

/// Compiles each text once, and collects what is wrong.
class Scan
{
public:
    Scan(const model::Corvane &scene, const model::LogicalScene *tree)
        : m_context(editorScope(scene, tree))
    {}

    void check(const ExpressionSites &sites, const QString &path, const QString &itemId)
    {
        for (const auto &[location, text] : sites) {
            const QString error = errorOf(text);
            if (!error.isEmpty())
                m_errors.append({path, itemId, location, text, error});
        }
    }
    QList<SceneExprError> errors() const { return m_errors; }

private:
    QString errorOf(const QString &text)
    {
        auto known = m_known.constFind(text);
        if (known == m_known.cend()) {
            const auto compiled = expr::ExprCompiler(m_context).compile(text);
            known = m_known.insert(
                text, compiled.errors.isEmpty() ? QString() : compiled.errors.first().message);
        }
        return *known;
    }

    const expr::CompileContext m_context;
    QHash<QString, QString> m_known;
    QList<SceneExprError> m_errors;
};

QString idText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

QString itemPath(const model::Corvane &scene, const model::SceneItem &item)
{
    QStringList names{item.name};
    QUuid parent = item.parentId;
    for (int depth = 0; depth < deepestPath && scene.hasItem(parent); ++depth) {
        const model::SceneItem above = scene.item(parent);
        names.prepend(above.name);
        parent = above.parentId;
    }
    return names.join(u'/');
}

/// Variables and items of these names win, as they do in expressions.
void bindNodes(expr::CompileContext &context, const model::Corvane &scene,
               const model::LogicalScene &tree)
{
    expr::NodeNames names;
    const auto &nodes = tree.instances();
    for (const model::LogicalInstance &node : nodes) {
        if (!node.definitionId.isEmpty() && !node.isComponentInstance())
            names.add(node.name, node.id);
    }
    for (const model::LogicalInstance &node : nodes) {
        if (names.holder(node.name) != node.id || !scene.instanceIdByName(node.name).isNull())
            continue;
        context.instances.insert(node.name, node.params);
    }
}

void appendVariables(ExpressionSites &sites, const QString &varset,
                     const model::VarsetEntries &entries)
{
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (!it->expression.isEmpty())
            sites.append({variableLocation(varset, it.key()), it->expression});
    }
}

} // namespace

QList<SceneExprError> scanSceneErrors(const model::Corvane &scene,
                                      const model::LogicalScene *logicalScene)
{
    Scan scan(scene, logicalScene);
    if (logicalScene) {
        const QList<QUuid> nodes = logicalScene->nodesInOrder();
        for (const QUuid &id : nodes) {
            const ExpressionSites sites = expressionsIn(*logicalScene->instance(id));
            if (!sites.isEmpty())
                scan.check(sites, nodePath(*logicalScene, id), idText(id));
        }
    }
    const auto items = scene.items();
    for (const model::SceneItem &item : items) {
        const ExpressionSites sites = expressionsIn(item);
        if (!sites.isEmpty() && !standsForNode(item, logicalScene))
            scan.check(sites, itemPath(scene, item), idText(item.id));
    }
    scan.check(variableExpressions(scene), u"varset"_s, {});
    return scan.errors();
}

expr::CompileContext editorScope(const model::Corvane &scene, const model::LogicalScene *tree)
{
    expr::CompileContext context = expr::ExprModelBuilder(scene).buildContext();
    if (tree)
        bindNodes(context, scene, *tree);
    return context;
}

bool standsForNode(const model::SceneItem &item, const model::LogicalScene *tree)
{
    if (!tree || item.itemType != model::ItemTypes::Sdf || !item.hasTag(model::ItemTags::Compiled))
        return false;
    return tree->contains(model::Instance(item).provenance().sourceItemId);
}

QString nodePath(const model::LogicalScene &tree, const QUuid &id)
{
    QStringList names;
    for (QUuid node = id; tree.contains(node); node = tree.parentOf(node))
        names.prepend(tree.instance(node)->name);
    return names.join(u'/');
}

ExpressionSites expressionsIn(const QVariantMap &params, const QString &prefix)
{
    ExpressionSites sites;
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const int type = it->typeId();
        if (type == QMetaType::Double || type == QMetaType::LongLong)
            continue; // nearly all of them
        const auto value = model::ParameterValue::fromVariant(*it);
        if (value.isExpression())
            sites.append({prefix + it.key(), value.expression});
    }
    return sites;
}

ExpressionSites expressionsIn(const model::LogicalInstance &node)
{
    ExpressionSites sites = expressionsIn(node.params);
    for (const model::WrapperValues &wrapper : node.wrappers)
        sites += expressionsIn(wrapper.values, wrapper.definitionId + u'.');
    return sites;
}

ExpressionSites expressionsIn(const model::SceneItem &item)
{
    if (item.itemType != model::ItemTypes::Sdf)
        return {};
    return expressionsIn(model::Instance(item).rawParams());
}

QString variableLocation(const QString &varset, const QString &name)
{
    return u"varset:"_s + (varset.isEmpty() ? u"Default"_s : varset) + u'.' + name;
}

ExpressionSites variableExpressions(const model::Corvane &scene)
{
    ExpressionSites sites;
    appendVariables(sites, {}, scene.varsetEntries());
    const auto varsets = scene.namedVarsets();
    for (auto it = varsets.cbegin(); it != varsets.cend(); ++it)
        appendVariables(sites, it.key(), *it);
    return sites;
}

} // namespace corvane::zirn
