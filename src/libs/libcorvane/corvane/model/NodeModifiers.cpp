#include <corvane/model/NodeModifiers.h>

#include <algorithm>

namespace corvane::model {

QVariant NodeModifier::value(const NodeModifiers &modifiers) const
{
    return number ? QVariant(modifiers.*number) : QVariant(modifiers.*whole);
}

void NodeModifier::set(NodeModifiers &modifiers, double value) const
{
    if (number)
        modifiers.*number = float(value);
    else
        modifiers.*whole = int(value);
}

bool NodeModifier::isSame(const NodeModifiers &a, const NodeModifiers &b) const
{
    return number ? a.*number == b.*number : a.*whole == b.*whole;
}

QVariantMap NodeModifiers::toVariantMap() const
{
    QVariantMap map;
    for (const NodeModifier &modifier : nodeModifiers)
        map.insert(modifier.key, modifier.value(*this));
    return map;
}

const NodeModifier *findNodeModifier(const QString &key)
{
    const auto found = std::ranges::find(nodeModifiers, key, &NodeModifier::key);
    return found == nodeModifiers.end() ? nullptr : &*found;
}

} // namespace corvane::model
