#include <eval/internal/native/CodegenBuiltins.h>

#include <eval/internal/native/NativeTypes.h>

#include <algorithm>

namespace eval::internal {

namespace {

QByteArray call(const char *function, const QList<QByteArray> &arguments)
{
    return CodeWriter::callText(function, arguments);
}

} // namespace

bool CodegenBuiltins::writesArgumentsAgain(const Builtin &) const
{
    return false; // they are names already
}

QByteArray CodegenBuiltins::functionOf(const Builtin &row) const
{
    return row.native.function;
}

/// One scalar call a lane. What is not all float is computed in double and rounded at the end.
CodegenBuiltins::Emitted CodegenBuiltins::perLane(const Builtin &row, const Values &a)
{
    const Type type = laneTypeOf(row, a);
    if (!isNativeVariableType(type))
        return std::nullopt;
    const bool inFloat = isFloatOnly(a) && scalarOf(type) == Type::Float;
    const Type computed = inFloat ? Type::Float : Type::Double;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        QList<QByteArray> arguments;
        for (const CodeValue &argument : a)
            arguments.append(m_writer.laneAs(argument, i, computed));
        lanes.append(nativeCast(call(row.native.function, arguments), computed, scalarOf(type)));
    }
    return Call{nativeCompose(type, lanes), type};
}

CodegenBuiltins::Emitted CodegenBuiltins::geometric(const Builtin &row, const Values &a,
                                                    bool givesVector)
{
    for (const CodeValue &argument : a) {
        if (!isScalarOrVector(argument) || scalarOf(argument.type) == Type::Double)
            return std::nullopt;
    }
    const Type vector = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> arguments;
    for (const CodeValue &argument : a) {
        QList<QByteArray> lanes;
        for (int i = 0; i < laneCount(vector); ++i)
            lanes.append(ownLaneAs(argument, i, Type::Float));
        arguments.append(argument.type == vector ? argument.text : nativeCompose(vector, lanes));
    }
    return Call{call(row.native.function, arguments), givesVector ? vector : Type::Float};
}

CodegenBuiltins::Emitted CodegenBuiltins::crossProduct(const Builtin &row, const Values &a)
{
    if (scalarOf(a[0].type) == Type::Double || scalarOf(a[1].type) == Type::Double)
        return std::nullopt;
    QList<QByteArray> arguments;
    for (const CodeValue &argument : a)
        arguments.append(nativeCompose(Type::Vec3, {ownLaneAs(argument, 0, Type::Float),
                                                    ownLaneAs(argument, 1, Type::Float),
                                                    ownLaneAs(argument, 2, Type::Float)}));
    return Call{call(row.native.function, arguments), Type::Vec3};
}

CodegenBuiltins::Emitted CodegenBuiltins::relation(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    const Type compared = isFloatOnly(a) ? Type::Float : Type::Double;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append('(' + ownLaneAs(a[0], i, compared) + ' ' + row.native.function + ' ' +
                     m_writer.laneAs(a[1], i, compared) + ')');
    return Call{nativeCompose(type, lanes), type};
}

CodegenBuiltins::Emitted CodegenBuiltins::test(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(call(row.native.function,
                          {ownLaneAs(a[0], i, isFloatOnly(a) ? Type::Float : Type::Double)}));
    return Call{nativeCompose(type, lanes), type};
}

QByteArray CodegenBuiltins::anyOrAll(const Builtin &row, const CodeValue &value)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(value.type); ++i)
        lanes.append(nativeLane(value, i));
    return '(' + lanes.join(row.native.function) + ')';
}

QByteArray CodegenBuiltins::negation(const Builtin &row, const CodeValue &value)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(value.type); ++i)
        lanes.append(row.native.function + nativeLane(value, i));
    return nativeCompose(value.type, lanes);
}

QByteArray CodegenBuiltins::outerProduct(const Values &a, Type type)
{
    const int rows = laneCount(a[0].type);
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(nativeLane(a[0], i % rows) + " * " + nativeLane(a[1], i / rows));
    return nativeCompose(type, lanes);
}

QByteArray CodegenBuiltins::floatBits(const Builtin &row, const QByteArray &number)
{
    return nativeCast(call(row.native.function, {number}), Type::Uint, Type::Int);
}

QByteArray CodegenBuiltins::bitsAsFloat(const Builtin &row, const CodeValue &bits, Type type)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(call(row.native.function, {ownLaneAs(bits, i, Type::Uint)}));
    return nativeCompose(type, lanes);
}

} // namespace eval::internal
