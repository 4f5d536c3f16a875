// Targets are resolved to a variable, a path of fields and lanes before the right side is
// evaluated, and looked up again when it is written: evaluating may have moved or replaced what
// was found.

#include <eval/internal/interpreter/Interpreter.h>

#include <eval/internal/frontend/StructRegistry.h>
#include <eval/internal/interpreter/Arithmetic.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

Value Interpreter::evalAssignment(const AstNode &node)
{
    // The target is resolved once, so that an index with a side effect has it once.
    const Target target = resolveTarget(*node.left);
    if (node.binaryKind == BinaryKind::Assign) {
        const Value value = evaluate(*node.right);
        return target.valid ? writeTarget(target, value) : Value::zero(Type::Float);
    }
    const Value before = target.valid ? readTarget(target) : Value::zero(Type::Float);
    const Value right = evaluate(*node.right);
    if (!target.valid)
        return Value::zero(Type::Float);
    return writeTarget(target, combine(node, operatorOfAssignment(node.binaryKind), before, right));
}

Interpreter::Target Interpreter::resolveTarget(const AstNode &node)
{
    if (node.kind == AstKind::Index)
        return resolveIndexTarget(node);
    if (node.kind == AstKind::Identifier) {
        const auto it = m_environment->constFind(node.name);
        if (it == m_environment->constEnd()) {
            recordError(node.span, u"unbound name '%1' at run-time"_s.arg(node.name));
            return {};
        }
        return {.valid = true,
                .name = node.name,
                .fieldPath = {},
                .partial = false,
                .lanes = {},
                .type = it->type,
                .structName = it->structName};
    }
    if (node.kind != AstKind::Member && node.kind != AstKind::StructField) {
        recordError(node.span, u"left side cannot be assigned"_s);
        return {};
    }
    Target target = resolveTarget(*node.left);
    if (!target.valid)
        return target;
    if (node.kind == AstKind::StructField) {
        target.fieldPath.append(node.fieldIndex);
        const Value *field = leafOf(target);
        target.valid = field != nullptr;
        target.type = field ? field->type : Type::Float;
        target.structName = field ? field->structName : QString();
        return target;
    }
    QVarLengthArray<int, 16> lanes;
    for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4))) {
        const int lane = swizzleLane(letter);
        if (!target.partial)
            lanes.append(lane);
        else if (lane < target.lanes.size())
            lanes.append(target.lanes[lane]);
    }
    target.type = vectorOf(scalarOf(target.type), static_cast<int>(lanes.size()));
    target.lanes = lanes;
    target.partial = true;
    return target;
}

Interpreter::Target Interpreter::resolveIndexTarget(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const qint64 index = evaluate(*node.right).integerLane(0);
    if (!target.valid)
        return target;
    if (target.type == Type::Array) {
        recordError(node.span, u"left side cannot be assigned"_s);
        return {};
    }
    if (!checkIndex(node, target.type, index))
        return {};
    const int rows = isMatrix(target.type) ? matrixRows(target.type) : 1;
    QVarLengthArray<int, 16> lanes;
    for (int i = 0; i < rows; ++i) {
        const int lane = static_cast<int>(index) * rows + i;
        lanes.append(target.partial ? target.lanes[lane] : lane);
    }
    target.type = vectorOf(scalarOf(target.type), rows);
    target.lanes = lanes;
    target.partial = true;
    return target;
}

Value *Interpreter::leafOf(const Target &target)
{
    const auto it = m_environment->find(target.name);
    Value *leaf = it == m_environment->end() ? nullptr : &*it;
    for (const int field : target.fieldPath) {
        if (!leaf || field < 0 || field >= leaf->fields.size())
            return nullptr;
        leaf = &leaf->fields[field];
    }
    return leaf;
}

Value Interpreter::readTarget(const Target &target)
{
    const Value *leaf = leafOf(target);
    if (!leaf)
        return Value::zero(Type::Float);
    if (!target.partial)
        return *leaf;
    Value part = Value::zero(target.type);
    for (qsizetype i = 0; i < target.lanes.size(); ++i)
        part.cells[static_cast<size_t>(i)] = leaf->cells[static_cast<size_t>(target.lanes[i])];
    return part;
}

Value Interpreter::writeTarget(const Target &target, const Value &value)
{
    Value *leaf = leafOf(target);
    if (!leaf)
        return Value::zero(Type::Float);
    const Value stored = retagged(value, target.type, target.structName, m_structs);
    if (!target.partial) {
        *leaf = stored;
        return stored;
    }
    for (qsizetype i = 0; i < target.lanes.size(); ++i)
        leaf->cells[static_cast<size_t>(target.lanes[i])] = stored.cells[static_cast<size_t>(i)];
    return stored;
}

} // namespace eval::internal
