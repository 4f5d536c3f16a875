// A target is found before the right side is evaluated, as in the interpreter; its lanes are
// numbers, or names of numbers where an index is only known at run time.

#include <eval/internal/native/CodegenAssignments.h>

#include <eval/internal/interpreter/Arithmetic.h>
#include <eval/internal/native/CodegenExpressions.h>

#include <algorithm>

namespace eval::internal {

namespace {

bool isNumber(const QByteArray &lane)
{
    return lane.at(0) >= '0' && lane.at(0) <= '9';
}

} // namespace

Operand CodegenAssignments::emitAssignment(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (node.binaryKind == BinaryKind::Assign) {
        const Operand value = m_expressions.emitExpression(*node.right);
        return target.isValid ? writeTarget(target, value) : m_writer.unsupported();
    }
    if (!target.isValid)
        return m_writer.unsupported();
    Operand before = readTarget(target);
    if (m_expressions.mutates(*node.right))
        before = m_writer.named(before);
    const Operand right = m_expressions.emitExpression(*node.right);
    return writeTarget(target, m_expressions.arithmetic().combine(
                                   operatorOfAssignment(node.binaryKind), before, right));
}

Operand CodegenAssignments::emitStep(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid || !isNativeVariableType(target.type))
        return m_writer.unsupported();
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    const Operand before = m_writer.named(readTarget(target));
    const Operand after = m_expressions.arithmetic().stepped(before, isIncrement);
    const Operand written = writeTarget(target, after);
    return isPrefix ? written : before;
}

CodegenAssignments::Target CodegenAssignments::resolveTarget(const AstNode &node)
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

CodegenAssignments::Target CodegenAssignments::resolveField(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const StructDef *const definition = m_writer.unit().structs().lookup(target.leaf.structName);
    target.isValid = target.isValid && !target.isPartial && target.type == Type::Struct &&
                     definition && node.fieldIndex >= 0 &&
                     node.fieldIndex < definition->fields.size();
    if (!target.isValid)
        return target;
    const StructField &field = definition->fields[node.fieldIndex];
    target.leaf = {target.leaf.text + '.' + CodegenUnit::fieldName(node.fieldIndex), field.type,
                   field.structName, Type::Float, true};
    target.type = field.type;
    return target;
}

/// A swizzle or an index, of a whole value or of lanes already picked.
CodegenAssignments::Target CodegenAssignments::resolveLanes(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const QList<QByteArray> lanes =
        node.kind == AstKind::Member ? swizzledLanes(node, target) : indexedLanes(node, target);
    const bool hasFloatLanes = scalarOf(target.type) == Type::Float && !isScalar(target.type);
    target.type = vectorOf(Type::Float, static_cast<int>(lanes.size()));
    target.isValid = target.isValid && hasFloatLanes && !lanes.isEmpty();
    target.isPartial = true;
    target.lanes = lanes;
    return target;
}

QList<QByteArray> CodegenAssignments::lanesOf(const Target &target)
{
    if (target.isPartial)
        return target.lanes;
    QList<QByteArray> lanes;
    for (int lane = 0; lane < laneCount(target.type); ++lane)
        lanes.append(QByteArray::number(lane));
    return lanes;
}

QList<QByteArray> CodegenAssignments::swizzledLanes(const AstNode &node, const Target &whole)
{
    const QList<QByteArray> known = lanesOf(whole);
    QList<QByteArray> lanes;
    for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4))) {
        if (swizzleLane(letter) < known.size())
            lanes.append(known[swizzleLane(letter)]);
    }
    return lanes;
}

QList<QByteArray> CodegenAssignments::indexedLanes(const AstNode &node, const Target &whole)
{
    const QList<QByteArray> known = lanesOf(whole);
    const Operand index = m_expressions.emitExpression(*node.right);
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int count = static_cast<int>(known.size()) / rows;
    const auto constant = m_expressions.constantIndex(*node.right, count);
    if (constant)
        return known.mid(*constant * rows, rows);
    const QByteArray name = m_expressions.dynamicIndex(index, count);
    QList<QByteArray> lanes;
    for (int row = 0; row < rows; ++row) {
        QByteArray lane = "-1ll";
        for (int i = count - 1; i >= 0; --i)
            lane = name + " == " + QByteArray::number(i) + " ? " + known[i * rows + row] + " : " +
                   lane;
        lanes.append(m_writer.keep(lane, Type::Int64).text);
    }
    return lanes;
}

Operand CodegenAssignments::readTarget(const Target &target)
{
    if (!target.isPartial)
        return target.leaf;
    QList<QByteArray> lanes;
    for (const QByteArray &lane : target.lanes)
        lanes.append(isNumber(lane) ? nativeLane(target.leaf, lane.toInt())
                                    : "lane(" + target.leaf.text + ", " + lane + ')');
    return m_writer.keep(nativeCompose(target.type, lanes), target.type);
}

Operand CodegenAssignments::writeTarget(const Target &target, const Operand &value)
{
    const Operand stored =
        m_writer.named(m_writer.retag(value, target.type, target.leaf.structName));
    if (!target.isPartial) {
        m_writer.assign(target.leaf.text, stored.text);
        return stored;
    }
    for (qsizetype i = 0; i < target.lanes.size(); ++i) {
        const QByteArray &lane = target.lanes[i];
        const QByteArray part = nativeLane(stored, static_cast<int>(i));
        if (isNumber(lane))
            m_writer.assign(nativeLane(target.leaf, lane.toInt()), part);
        else
            m_writer.emitLine("setLane(" + target.leaf.text + ", " + lane + ", " + part + ");");
    }
    return stored;
}

} // namespace eval::internal
