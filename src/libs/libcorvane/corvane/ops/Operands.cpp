#include <corvane/ops/Operands.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentEdit.h>
#include <corvane/ops/SceneSnapshot.h>
#include <corvane/registry/Registry.h>

namespace corvane::ops {

namespace {

void setReferences(model::Corvane &document, const QUuid &operatorId, const QStringList &references)
{
    model::Instance item = document.instance(operatorId);
    if (item.childReferences() == references)
        return;
    model::DocumentEdit::setReferences(item, references);
    document.updateItem(item);
}

/// -1 without a limit, 0 for what is no operator.
int mostOperands(const model::Corvane &document, const QUuid &id)
{
    const model::Instance item = document.instance(id);
    const auto definition = registry::Registry::instance().getDefinition(item.definitionId());
    const bool isOfField = document.hasItem(id) && item.itemType == model::ItemTypes::Sdf;
    return isOfField && definition ? definition->maxChildren() : 0;
}

} // namespace

bool isOperator(const model::Corvane &document, const QUuid &id)
{
    return mostOperands(document, id) != 0;
}

bool hasRoom(const model::Corvane &document, const QUuid &operatorId)
{
    const int most = mostOperands(document, operatorId);
    return most < 0 || document.instance(operatorId).childReferences().size() < most;
}

QList<QUuid> operatorsOver(const model::Corvane &document, const QUuid &id)
{
    QList<QUuid> operators;
    const auto items = document.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType == model::ItemTypes::Sdf &&
            document.childInstanceIds(item.id).contains(id))
            operators.append(item.id);
    }
    return operators;
}

QSet<QUuid> expressionOf(const model::Corvane &document, const QUuid &id)
{
    QSet<QUuid> found{id};
    QList<QUuid> open{id};
    while (!open.isEmpty()) {
        const QList<QUuid> operands = document.childInstanceIds(open.takeLast());
        for (const QUuid &operand : operands) {
            if (found.contains(operand))
                continue;
            found.insert(operand);
            open.append(operand);
        }
    }
    return found;
}

QVariantMap operandsOf(const model::Corvane &document, const QList<QUuid> &operators)
{
    QVariantMap operands;
    for (const QUuid &id : operators)
        operands.insert(idText(id), document.instance(id).childReferences());
    return operands;
}

void restoreOperands(model::Corvane &document, const QVariantMap &operands)
{
    for (auto it = operands.cbegin(); it != operands.cend(); ++it) {
        const QUuid id = QUuid::fromString(it.key());
        if (document.hasItem(id))
            setReferences(document, id, it->toStringList());
    }
}

void removeOperand(model::Corvane &document, const QUuid &operatorId, const QUuid &id)
{
    QStringList references = document.instance(operatorId).childReferences();
    references.removeIf([&](const QString &text) { return document.resolveReference(text) == id; });
    setReferences(document, operatorId, references);
}

void insertOperand(model::Corvane &document, const QUuid &operatorId, const QUuid &id,
                   qsizetype index)
{
    QStringList references = document.instance(operatorId).childReferences();
    const bool isInRange = index >= 0 && index <= references.size();
    references.insert(isInRange ? index : references.size(),
                      model::DocumentEdit(document).referenceTo(id));
    setReferences(document, operatorId, references);
}

} // namespace corvane::ops
