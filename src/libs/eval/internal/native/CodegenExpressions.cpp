#include <eval/internal/native/CodegenExpressions.h>

#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/native/NativeTypes.h>

#include <algorithm>

namespace eval::internal {

CodeValue CodegenExpressions::emitTernary(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    const QByteArray name = m_lines.newName('t');
    CodeValue values[2];
    const auto emitBranch = [&](int i, const QByteArray &mask) {
        return m_lines.nested([&] {
            const CodeValue value = emitExpression(i == 0 ? *node.left : *node.right);
            values[i] = m_lines.retag(value, ternaryType(value.type, node.type), value.structName);
            m_lines.emitLine(name + " = " +
                             (i == 0 || mask.isEmpty()
                                  ? values[i].text
                                  : "select(" + mask + ", " + values[i].text + ", " + name + ')') +
                             ';');
        });
    };
    const auto [first, second] = m_lines.emitBranches(chosen, emitBranch);
    if (values[0].type != values[1].type || values[0].structName != values[1].structName ||
        values[0].type == Type::Array)
        return m_lines.unsupported();
    m_lines.emitLine(m_lines.unit().typeText(values[0].type, values[0].structName) + ' ' + name +
                     "{};");
    if (m_lines.isForLanes()) {
        m_lines.emitText(first + second);
    } else {
        m_lines.emitBrace("if (" + chosen + ") {");
        m_lines.emitText(first);
        m_lines.emitBrace("} else {");
        m_lines.emitText(second);
        m_lines.emitBrace("}");
    }
    return {name, values[0].type, values[0].structName};
}

CodeValue CodegenExpressions::emitConversion(const CodeValue &source, Type type)
{
    return m_writer.keep(nativeRetag(source, type), type);
}

CodeValue CodegenExpressions::emitLanes(Type type, QList<CodeValue> arguments)
{
    QList<QByteArray> lanes;
    for (const CodeValue &argument : std::as_const(arguments)) {
        for (int i = 0; i < laneCount(argument.type) && lanes.size() < laneCount(type); ++i)
            lanes.append(m_writer.laneAs(argument, i, scalarOf(type)));
    }
    while (lanes.size() < laneCount(type))
        lanes.append(nativeZero(scalarOf(type)));
    return m_writer.keep(nativeCompose(type, lanes), type);
}

/// The overlap, and the rest from the unit matrix.
CodeValue CodegenExpressions::emitMatrixOfMatrix(const CodeValue &source, Type type)
{
    QList<QByteArray> lanes;
    const int rows = matrixRows(type);
    for (int i = 0; i < laneCount(type); ++i) {
        const int column = i / rows;
        const int row = i % rows;
        if (column < matrixColumns(source.type) && row < matrixRows(source.type))
            lanes.append(nativeLane(source, column * matrixRows(source.type) + row));
        else
            lanes.append(column == row ? "(Float{} + 1.0f)" : nativeZero(Type::Float));
    }
    return m_writer.keep(nativeCompose(type, lanes), type);
}

CodeValue CodegenExpressions::emitMember(const AstNode &node)
{
    const CodeValue whole = emitExpression(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    const Type type = vectorOf(scalarOf(whole.type), count);
    if (!isNativeLaneType(whole.type) || !isNativeLaneType(type))
        return m_writer.unsupported();
    QList<QByteArray> lanes;
    for (int i = 0; i < count; ++i)
        lanes.append(nativeLane(whole, swizzleLane(node.name[i])));
    if (count == 1)
        return {lanes.first(), type, {}, Type::Float, whole.isVariable};
    return m_writer.keep(nativeCompose(type, lanes), type);
}

CodeValue CodegenExpressions::emitElement(const CodeValue &array, const CodeValue &number)
{
    const Type type = array.elementType;
    const QByteArray index =
        m_writer.keep(m_writer.laneAs(number, 0, Type::Int64), Type::Int64).text;
    const QByteArray place = "element(" + array.text + ", " + index + ", " + array.text +
                             "_length, " + QByteArray::number(laneCount(type)) + ", ";
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(nativeCast(place + QByteArray::number(i) + ')', Type::Float, scalarOf(type)));
    return m_writer.keep(nativeCompose(type, lanes), type);
}

CodeValue CodegenExpressions::emitPart(const CodeValue &whole, std::optional<int> number,
                                       const QByteArray &name)
{
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    QList<QByteArray> lanes;
    for (int i = 0; i < rows; ++i)
        lanes.append(number ? nativeLane(whole, *number * rows + i)
                            : "lane(" + whole.text + ", " + name + " * " +
                                  QByteArray::number(rows) + " + " + QByteArray::number(i) + ')');
    const Type type = vectorOf(Type::Float, rows);
    return m_writer.keep(nativeCompose(type, lanes), type);
}

} // namespace eval::internal
