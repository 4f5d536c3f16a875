// The part of the type checker that is about calls, constructors and members.

#include <eval/internal/TypeChecker.h>

#include <eval/internal/Builtin.h>

#include <array>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

/// Letters at the same place of each set name the same lane.
constexpr std::array<QStringView, 3> swizzleSets{u"xyzw", u"rgba", u"stpq"};

/// The set that a swizzle letter belongs to, -1 for none.
int swizzleSetOf(QChar letter)
{
    for (size_t i = 0; i < swizzleSets.size(); ++i) {
        if (swizzleSets[i].contains(letter))
            return static_cast<int>(i);
    }
    return -1;
}

QString arityError(std::span<const Builtin> builtins, qsizetype given)
{
    const Builtin &first = builtins.front();
    if (builtins.size() > 1)
        return u"'%1' takes %2 or %3 arguments"_s.arg(first.name, QString::number(first.arity),
                                                      QString::number(builtins.back().arity));
    return u"'%1' expects %2 argument(s), got %3"_s.arg(first.name, QString::number(first.arity),
                                                        QString::number(given));
}

int componentsOf(const QList<TypeRef> &arguments)
{
    int sum = 0;
    for (const TypeRef &argument : arguments)
        sum += laneCount(argument.type);
    return sum;
}

} // namespace

QList<TypeRef> TypeChecker::checkArguments(const AstNode &node)
{
    QList<TypeRef> types;
    types.reserve(node.arguments.size());
    for (const AstPtr &argument : node.arguments) {
        checkNode(argument);
        types.append(typeOf(argument));
    }
    return types;
}

Type TypeChecker::checkConstructor(AstNode &node)
{
    const QList<TypeRef> arguments = checkArguments(node);
    if (node.type == Type::Struct)
        return checkStructConstructor(node, arguments);
    return checkBuiltinConstructor(node, arguments);
}

Type TypeChecker::checkStructConstructor(const AstNode &node, const QList<TypeRef> &arguments)
{
    const StructDef *const definition = findStruct(node.structName);
    if (!definition) {
        error(node, u"unknown type '%1'"_s.arg(node.name));
        return Type::Struct;
    }
    if (arguments.size() != definition->fields.size()) {
        error(node, u"struct constructor '%1' expects %2 arguments, got %3"_s.arg(
                        node.name, QString::number(definition->fields.size()),
                        QString::number(arguments.size())));
        return Type::Struct;
    }
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const StructField &field = definition->fields[i];
        if (arguments[i] == TypeRef{field.type, field.structName, Type::Float})
            continue;
        error(node, u"struct '%1' field '%2' expects type-%3, got type-%4"_s.arg(
                        node.name, field.name, QString::number(static_cast<quint32>(field.type)),
                        QString::number(static_cast<quint32>(arguments[i].type))));
    }
    return Type::Struct;
}

Type TypeChecker::checkBuiltinConstructor(const AstNode &node, const QList<TypeRef> &arguments)
{
    const int wanted = laneCount(node.type);
    if (wanted == 0) {
        error(node, u"unknown type '%1'"_s.arg(node.name));
        return node.type; // what the source says stays, so that a second check finds the same
    }
    const int given = componentsOf(arguments);
    const bool isSingle = arguments.size() == 1;
    const Type only = isSingle ? arguments.first().type : Type::Void;
    // A scalar takes the first lane of anything; a matrix of another matrix takes the overlap.
    const bool fits = isScalar(node.type) ? isSingle && given > 0
                                          : given == wanted || isScalar(only) ||
                                                (isMatrix(node.type) && isMatrix(only));
    if (!fits) {
        error(node, u"constructor '%1' expects %2 components, got %3"_s.arg(
                        node.name, QString::number(wanted), QString::number(given)));
    }
    return node.type;
}

Type TypeChecker::checkMember(AstNode &node)
{
    const Type object = checkNode(node.left);
    if (object == Type::Struct)
        return checkField(node);
    node.kind = AstKind::Member;
    node.fieldIndex = -1;
    if (isVector(object))
        return checkSwizzle(node);
    error(node, u"swizzle on non-vector type %1"_s.arg(displayName(typeOf(node.left))));
    return Type::Float;
}

Type TypeChecker::checkField(AstNode &node)
{
    const QString &structName = node.left->structName;
    const StructDef *const definition = findStruct(structName);
    if (!definition) {
        error(node,
              u"internal: struct type-checked but '%1' missing from registry"_s.arg(structName),
              DiagnosticCategory::Internal);
        return Type::Float;
    }
    const int index = definition->indexOf(node.name);
    if (index < 0) {
        error(node, u"struct '%1' has no field named '%2'"_s.arg(structName, node.name));
        return Type::Float;
    }
    const StructField &field = definition->fields[index];
    node.kind = AstKind::StructField;
    node.fieldIndex = index;
    node.structName = field.structName;
    return field.type;
}

Type TypeChecker::checkSwizzle(const AstNode &node)
{
    const QString &letters = node.name;
    const Type object = node.left->type;
    if (letters.isEmpty() || letters.size() > 4) {
        error(node, u"invalid swizzle '.%1'"_s.arg(letters));
        return Type::Float;
    }
    const int set = swizzleSetOf(letters.front());
    for (const QChar letter : letters) {
        const int own = swizzleSetOf(letter);
        const bool isLane = own >= 0 && swizzleSets[static_cast<size_t>(own)].indexOf(letter) <
                                            vectorComponentCount(object);
        if (!isLane) {
            error(node, u"invalid swizzle component '%1'"_s.arg(letter));
            return Type::Float;
        }
        if (own != set) {
            error(node, u"mixed swizzle component sets in '.%1'"_s.arg(letters));
            return Type::Float;
        }
    }
    return vectorOf(scalarOf(object), static_cast<int>(letters.size()));
}

Type TypeChecker::checkCall(AstNode &node)
{
    const QList<TypeRef> arguments = checkArguments(node);
    if (!m_overloads.contains(node.name))
        return checkBuiltinCall(node, arguments);
    const OverloadTable::Choice choice = m_overloads.choose(node.name, arguments);
    if (!choice.error.isEmpty())
        error(node, choice.error);
    if (!choice.overload)
        return Type::Float;
    node.structName = choice.overload->function->structName;
    return choice.overload->function->type;
}

Type TypeChecker::checkBuiltinCall(const AstNode &node, const QList<TypeRef> &arguments)
{
    const auto ofThisName = findBuiltins(node.name);
    if (ofThisName.empty()) {
        error(node, u"unknown function '%1'"_s.arg(node.name));
        return Type::Float;
    }
    if (!node.builtin)
        error(node, arityError(ofThisName, arguments.size()));
    QList<Type> types;
    types.reserve(arguments.size());
    for (const TypeRef &argument : arguments)
        types.append(argument.type);
    return builtinResultType(ofThisName.front(), types);
}

} // namespace eval::internal
