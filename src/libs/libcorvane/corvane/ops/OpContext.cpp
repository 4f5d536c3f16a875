#include <corvane/ops/OpContext.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

constexpr qint64 linearTries = 32;

/// `base` and a number from 1 on that is free. Low numbers are tried one by one; past these a free
/// one is looked for in growing steps, since a scene may hold many thousands of namesakes.
QString numberedName(const QString &base, const std::function<bool(const QString &)> &isTaken)
{
    const auto nameOf = [&base](qint64 number) { return base + u' ' + QString::number(number); };
    for (qint64 number = 1; number <= linearTries; ++number) {
        if (!isTaken(nameOf(number)))
            return nameOf(number);
    }
    qint64 taken = linearTries;
    qint64 open = 2 * taken;
    for (; isTaken(nameOf(open)); open *= 2)
        taken = open;
    while (open - taken > 1) {
        const qint64 middle = taken + (open - taken) / 2;
        (isTaken(nameOf(middle)) ? taken : open) = middle;
    }
    return nameOf(open);
}

} // namespace

const model::LogicalInstance *OpContext::node(const QUuid &id) const
{
    const model::LogicalInstance *found = tree ? std::as_const(*tree).instance(id) : nullptr;
    return found && !found->isReference() ? found : nullptr;
}

bool OpContext::contains(const QUuid &id) const
{
    return node(id) || document.hasItem(id);
}

QString OpContext::nameOf(const QUuid &id) const
{
    const model::LogicalInstance *found = node(id);
    return found ? found->name : document.item(id).name;
}

QString OpContext::uniqueName(const QString &wanted, const QUuid &owner) const
{
    const model::LogicalInstance *node = this->node(owner);
    const auto isTaken = [&](const QString &name) {
        const bool isOwn = node && node->name == name;
        const QUuid holder = document.instanceIdByName(name);
        return (tree && !isOwn && tree->hasName(name)) || (!holder.isNull() && holder != owner);
    };
    if (!isTaken(wanted))
        return wanted;
    const QString base = model::duplicateBaseName(wanted);
    return numberedName(base.isEmpty() ? wanted : base, isTaken);
}

} // namespace corvane::ops
