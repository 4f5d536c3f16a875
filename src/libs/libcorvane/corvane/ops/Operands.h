#pragma once

#include <QList>
#include <QSet>
#include <QStringList>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {
class Corvane;
}

namespace corvane::ops {

// The expression of a document, where no tree stands behind its items: who lists whom

/// Whether the item is one of the field that combines others.
bool isOperator(const model::Corvane &document, const QUuid &id);
/// Whether an operator may list one more.
bool hasRoom(const model::Corvane &document, const QUuid &operatorId);
/// The items whose "children" name the item, in the order of the document.
QList<QUuid> operatorsOver(const model::Corvane &document, const QUuid &id);
/// The item and all that its expression is made of.
QSet<QUuid> expressionOf(const model::Corvane &document, const QUuid &id);

/// What these items list, by their ids, as it is stored; and back.
QVariantMap operandsOf(const model::Corvane &document, const QList<QUuid> &operators);
void restoreOperands(model::Corvane &document, const QVariantMap &operands);

void removeOperand(model::Corvane &document, const QUuid &operatorId, const QUuid &id);
/// At the end for an index out of range.
void insertOperand(model::Corvane &document, const QUuid &operatorId, const QUuid &id,
                   qsizetype index);

} // namespace corvane::ops
