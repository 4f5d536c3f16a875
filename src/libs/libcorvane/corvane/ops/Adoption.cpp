#include <corvane/ops/Adoption.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/Operands.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

namespace Keys {
const QString items = QStringLiteral("items"); ///< to be there
const QString nodes = QStringLiteral("nodes"); ///< to be there, parents first
const QString goneItems = QStringLiteral("goneItems");
const QString goneNode = QStringLiteral("goneNode");
const QString operands = QStringLiteral("operands");
const QString roots = QStringLiteral("roots");
} // namespace Keys

bool hasDataOfItsOwn(const model::Instance &item)
{
    static const QSet<QString> known{u"type"_s,         u"params"_s,       u"blendSharpness"_s,
                                     u"materialMode"_s, u"densityScale"_s, u"shellThickness"_s,
                                     u"__provenance"_s};
    return std::any_of(item.typeData.keyBegin(), item.typeData.keyEnd(),
                       [](const QString &key) { return !known.contains(key); });
}

model::WrapperValues wrapperValues(const model::Instance &wrapper)
{
    QVariantMap values = wrapper.rawParams();
    for (const auto key : {"children"_L1, "offset"_L1, "angles"_L1, "factor"_L1})
        values.remove(key);
    return {wrapper.definitionId(), values};
}

/// The items of one expression, as nodes.
class Expression
{
public:
    Expression(const OpContext &context, const QUuid &top)
        : m_document(context.document)
    {
        const auto items = m_document.items();
        for (const model::SceneItem &item : items) {
            const QList<QUuid> children = m_document.childInstanceIds(item.id);
            for (const QUuid &child : children)
                m_users[child].append(item.id);
        }
        collect(top);
    }

    /// Why a tree can't hold it; empty when one can.
    QString flaw() const
    {
        const QList<QUuid> all = items();
        const QSet<QUuid> own(all.cbegin(), all.cend());
        const QUuid outer = outerOf(m_cores.first());
        for (const QUuid &id : all) {
            const model::Instance item = m_document.instance(id);
            const QList<QUuid> users = m_users.value(id);
            const bool isUsedOutside =
                m_document.roots().contains(id) ||
                std::any_of(users.cbegin(), users.cend(),
                            [&own](const QUuid &user) { return !own.contains(user); });
            if (id != outer && (users.size() > 1 || isUsedOutside))
                return u"a part is used more than once:"_s;
            if (hasDataOfItsOwn(item))
                return u"a part has data that nodes do not have:"_s;
            if (m_document.hasItem(item.parentId) && !isOperator(m_document, item.parentId))
                return u"a part stands in a group:"_s;
        }
        return {};
    }
    QList<QUuid> items() const
    {
        QList<QUuid> all;
        for (const QUuid &id : m_cores)
            all += QList<QUuid>{id} + model::ItemWrappers(m_document, id).ids();
        return all;
    }
    QList<QUuid> users() const { return m_users.value(outerOf(m_cores.first())); }
    QVariantList nodes(const QUuid &parentId, qsizetype index) const
    {
        QHash<QUuid, Placement> places{{m_cores.first(), {parentId, index}}};
        QVariantList snapshots;
        for (const QUuid &id : m_cores) {
            const model::LogicalInstance node = nodeOf(id);
            for (qsizetype i = 0; i < node.children.size(); ++i)
                places.insert(node.children.at(i), {id, i});
            snapshots.append(nodeSnapshot(node, places.value(id)));
        }
        return snapshots;
    }

private:
    QUuid outerOf(const QUuid &id) const { return model::ItemWrappers(m_document, id).outerId(); }
    QUuid coreOf(const QUuid &id) const
    {
        const QUuid owner = model::ItemWrappers::ownerOf(m_document, m_document.item(id));
        return owner.isNull() ? id : owner;
    }
    void collect(const QUuid &top)
    {
        QSet<QUuid> seen{top};
        m_cores = {top};
        for (qsizetype i = 0; i < m_cores.size(); ++i) {
            const QList<QUuid> children = m_document.childInstanceIds(m_cores.at(i));
            for (const QUuid &child : children) {
                const QUuid core = coreOf(child);
                if (!seen.contains(core))
                    m_cores.append(core);
                seen.insert(core);
            }
        }
    }
    model::LogicalInstance nodeOf(const QUuid &id) const
    {
        const model::Instance item = m_document.instance(id);
        const model::ItemWrappers wrappers(m_document, id);
        const model::Transform transform = wrappers.transform();
        model::LogicalInstance node(id);
        node.definitionId = item.definitionId();
        node.name = item.name;
        node.params = item.rawParams();
        node.params.remove(u"children"_s);
        const QList<QUuid> wrapperItems = wrappers.ids();
        for (const QUuid &wrapper : wrapperItems)
            node.wrappers.prepend(wrapperValues(m_document.instance(wrapper)));
        const QList<QUuid> children = m_document.childInstanceIds(id);
        for (const QUuid &child : children)
            node.children.append(coreOf(child));
        node.material = item.material;
        node.materialId = item.materialId;
        node.tags = item.tags - QSet<QString>{model::ItemTags::Compiled};
        node.blendSharpness = item.blendSharpness();
        node.materialMode = item.materialMode();
        node.densityScale = item.densityScale();
        node.shellThickness = item.shellThickness();
        node.translate = transform.translate;
        node.rotate = transform.rotate;
        node.scale = transform.scale;
        return node;
    }

    const model::Corvane &m_document;
    QList<QUuid> m_cores; ///< parents before their children
    QHash<QUuid, QList<QUuid>> m_users;
};

QStringList without(QStringList references, const model::Corvane &document, const QUuid &id)
{
    references.removeIf([&](const QString &text) { return document.resolveReference(text) == id; });
    return references;
}

} // namespace

std::optional<Adoption> planAdoption(const OpContext &context, const QUuid &itemId,
                                     const QUuid &parentId, qsizetype index, QString &reason)
{
    const model::Corvane &document = context.document;
    const Expression expression(context, itemId);
    reason = expression.flaw();
    if (!reason.isEmpty())
        return std::nullopt;
    const QList<QUuid> ids = expression.items();
    const QUuid outer = model::ItemWrappers(document, itemId).outerId();
    QVariantList items;
    for (const QUuid &id : ids)
        items.append(itemSnapshot(document.item(id)));
    const QVariantMap operands = operandsOf(document, expression.users());
    QVariantMap operandsAfter = operands;
    for (QVariant &references : operandsAfter)
        references = without(references.toStringList(), document, outer);
    QList<QUuid> roots = document.roots();
    Adoption adoption{.before = {{Keys::items, items},
                                 {Keys::goneNode, idText(itemId)},
                                 {Keys::operands, operands}},
                      .after = {{Keys::nodes, expression.nodes(parentId, index)},
                                {Keys::goneItems, idList(ids)},
                                {Keys::operands, operandsAfter}}};
    if (!document.drawsAllItems()) {
        adoption.before.insert(Keys::roots, idList(roots));
        roots.removeAll(outer);
        adoption.after.insert(Keys::roots, idList(roots));
    }
    return adoption;
}

bool isAdoption(const QVariantMap &state)
{
    return state.contains(Keys::goneNode) || state.contains(Keys::goneItems);
}

void restoreAdoption(OpContext &context, const QVariantMap &state)
{
    const model::LogicalScene::Batch batch(*context.tree);
    if (state.contains(Keys::goneNode))
        context.tree->removeInstance(QUuid::fromString(state.value(Keys::goneNode).toString()));
    const QVariantList items = state.value(Keys::items).toList();
    for (const QVariant &item : items)
        context.document.addItem(itemOf(item.toMap()));
    restoreOperands(context.document, state.value(Keys::operands).toMap());
    if (state.contains(Keys::roots))
        context.document.setRoots(idsOf(state.value(Keys::roots)));
    const QList<QUuid> gone = idsOf(state.value(Keys::goneItems));
    for (const QUuid &id : gone)
        context.document.removeItem(id);
    restoreBranch(*context.tree, state.value(Keys::nodes).toList());
}

QUuid topOfExpression(const OpContext &context, const QUuid &itemId)
{
    QSet<QUuid> seen;
    QUuid top = itemId;
    while (!seen.contains(top)) {
        seen.insert(top);
        const QUuid outer = model::ItemWrappers(context.document, top).outerId();
        const QList<QUuid> users = operatorsOver(context.document, outer);
        if (users.isEmpty())
            return top;
        if (users.size() > 1)
            break;
        top = users.first();
    }
    return {};
}

} // namespace corvane::ops
