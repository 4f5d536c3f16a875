#include <corvane/expr/NodeNames.h>

#include <corvane/model/Corvane.h>

using namespace Qt::StringLiterals;

namespace corvane::expr {

NodeNames::NodeNames(const model::Corvane &scene)
{
    const auto items = scene.items();
    for (const model::SceneItem &item : items)
        add(of(item), item.id);
}

void NodeNames::add(const QString &name, const QUuid &id)
{
    if (!name.isEmpty())
        m_holders.insert(name, id);
}

QUuid NodeNames::holder(const QString &name) const
{
    const auto first = m_holders.constFind(name);
    if (first == m_holders.cend())
        return {};
    const auto second = std::next(first);
    const bool isOnlyOne = second == m_holders.cend() || second.key() != name;
    return isOnlyOne ? *first : QUuid();
}

QString NodeNames::of(const model::SceneItem &item)
{
    if (item.itemType != model::ItemTypes::Sdf)
        return {};
    // Not by way of a whole record: this is asked of every item of the scene.
    const QVariantMap from = item.typeData.value(u"__provenance"_s).toMap();
    if (from.value(u"role"_s).toInt() != int(model::SDFNodeProvenance::Role::Core))
        return {};
    const QString name = from.value(u"sourceItemName"_s).toString();
    const bool isScope = name == "default"_L1 || name == "math"_L1;
    return isScope ? QString() : name;
}

QUuid itemMeantBy(const model::Corvane &scene, const NodeNames &nodeNames, const QString &name)
{
    const QUuid named = name.isEmpty() ? QUuid() : scene.instanceIdByName(name);
    return named.isNull() ? nodeNames.holder(name) : named;
}

} // namespace corvane::expr
