#include <eval/internal/codegen/AssignmentEmitter.h>

#include <algorithm>

namespace eval::internal {

AssignmentEmitter::~AssignmentEmitter() = default;

bool AssignmentEmitter::isNumber(const QByteArray &lane)
{
    return lane.at(0) >= '0' && lane.at(0) <= '9';
}

CodeValue AssignmentEmitter::emitAssignment(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid)
        return m_writer.unsupported();
    if (node.binaryKind == BinaryKind::Assign)
        return writeTarget(target, m_expressions.emitExpression(*node.right));
    CodeValue before = readTarget(target);
    if (m_expressions.mutates(*node.right))
        before = m_writer.named(before);
    const CodeValue right = m_writer.shallow(m_expressions.emitExpression(*node.right));
    return writeTarget(target, m_expressions.operators().combine(
                                   operatorOfAssignment(node.binaryKind), before, right));
}

CodeValue AssignmentEmitter::emitStep(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid || !m_writer.unit().isVariableType(target.type))
        return m_writer.unsupported();
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    CodeValue before = readTarget(target);
    if (!isPrefix)
        before = m_writer.named(before);
    const CodeValue written =
        writeTarget(target, m_expressions.operators().stepped(before, isIncrement));
    return isPrefix ? written : before;
}

AssignmentEmitter::Target AssignmentEmitter::resolveTarget(const AstNode &node)
{
    Target target;
    switch (node.kind) {
    case AstKind::Identifier:
        target.leaf = m_expressions.emitIdentifier(node);
        target.isValid = target.leaf.isVariable && target.leaf.type != Type::Array;
        target.type = target.leaf.type;
        return target;
    case AstKind::Member:
    case AstKind::Index:
        return resolveLanes(node);
    case AstKind::StructField:
        return resolveField(node);
    default:
        return target;
    }
}

AssignmentEmitter::Target AssignmentEmitter::resolveField(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const StructDef *const definition = m_writer.unit().structs().lookup(target.leaf.structName);
    target.isValid = target.isValid && !target.isPartial && target.type == Type::Struct &&
                     definition && node.fieldIndex >= 0 &&
                     node.fieldIndex < definition->fields.size();
    if (!target.isValid)
        return target;
    const StructField &field = definition->fields[node.fieldIndex];
    target.leaf.text += '.' + CodeUnit::fieldName(node.fieldIndex);
    target.leaf.type = field.type;
    target.leaf.structName = field.structName;
    target.type = field.type;
    return target;
}

/// A swizzle or an index, of a whole value or of lanes already picked.
AssignmentEmitter::Target AssignmentEmitter::resolveLanes(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    target.isValid =
        target.isValid && scalarOf(target.type) == Type::Float && !isScalar(target.type);
    if (!target.isValid)
        return target;
    const int rows = isMatrix(target.type) ? matrixRows(target.type) : 1;
    target.lanes = node.kind == AstKind::Member ? swizzledLanes(node, lanesOf(target))
                                                : indexedLanes(node, lanesOf(target), rows);
    target.isValid = !target.lanes.isEmpty();
    target.type = vectorOf(Type::Float, static_cast<int>(target.lanes.size()));
    target.isPartial = true;
    return target;
}

QList<QByteArray> AssignmentEmitter::lanesOf(const Target &target)
{
    if (target.isPartial)
        return target.lanes;
    QList<QByteArray> lanes;
    for (int lane = 0; lane < laneCount(target.type); ++lane)
        lanes.append(QByteArray::number(lane));
    return lanes;
}

QList<QByteArray> AssignmentEmitter::swizzledLanes(const AstNode &node,
                                                   const QList<QByteArray> &known)
{
    QList<QByteArray> lanes;
    for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4))) {
        if (swizzleLane(letter) < known.size())
            lanes.append(known[swizzleLane(letter)]);
    }
    return lanes;
}

QList<QByteArray> AssignmentEmitter::indexedLanes(const AstNode &node,
                                                  const QList<QByteArray> &known, int rows)
{
    const CodeWords &words = m_writer.unit().words();
    const CodeValue index = m_expressions.emitExpression(*node.right);
    const int count = static_cast<int>(known.size()) / rows;
    if (const auto constant = ExpressionEmitter::constantIndex(*node.right, count))
        return known.mid(*constant * rows, rows);
    const QByteArray name = m_expressions.dynamicIndex(index, count);
    QList<QByteArray> lanes;
    for (int row = 0; row < rows; ++row) {
        QByteArray lane = words.noLane;
        for (int i = count - 1; i >= 0; --i)
            lane = m_writer.choiceText(name + " == " + QByteArray::number(i), known[i * rows + row],
                                       lane);
        lanes.append(m_writer.keep(lane, words.indexType).text);
    }
    return lanes;
}

} // namespace eval::internal
