// One walk that writes types bottom-up. After an error an expression has the type that most
// likely was meant (float, or what the source says), so that one mistake gives one message.
// Bodies are checked in source order against all functions of the source: a call may stand above
// its function.

#include <eval/internal/frontend/TypeChecker.h>

#include <eval/internal/frontend/CallGraph.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

// A default value of a struct is made of all that it contains: nested structs would double at each
// level.
constexpr qsizetype maxStructValues = 1024;
constexpr int maxStructDepth = 32;
// What one call of a function may have to keep.
constexpr qsizetype maxLocalValues = 131'072;

} // namespace

TypeChecker::TypeChecker(const SlotTable &globals, const StructRegistry &known)
    : m_globals(globals)
    , m_known(known)
{}

void TypeChecker::registerStructs(const QList<AstPtr> &declarations)
{
    for (const AstPtr &declaration : declarations)
        registerStruct(*declaration);
}

void TypeChecker::registerUserFunctions(const QList<AstPtr> &functions)
{
    m_functions = functions;
    for (const AstPtr &function : functions) {
        if (!m_overloads.add(function)) {
            error(*function, u"function '%1' has more than %2 overloads"_s.arg(
                                 function->name, QString::number(OverloadTable::maxOverloads)));
        }
    }
}

TypeRef TypeChecker::check(const AstPtr &root)
{
    for (const AstPtr &function : std::as_const(m_functions))
        checkFunction(*function);
    m_recursive = detectRecursion(m_functions);
    m_locals.clear();
    checkNode(root);
    return typeOf(root);
}

void TypeChecker::registerStruct(const AstNode &declaration)
{
    const QString &name = declaration.name;
    if (name.isEmpty()) {
        error(declaration, u"struct declaration is missing a name"_s);
        return;
    }
    if (declaration.params.isEmpty())
        error(declaration, u"struct '%1' is empty — §EX2-API-3.1.1 requires ≥1 field"_s.arg(name));
    StructDef definition = readFields(declaration);
    if (definition.valueCount > maxStructValues || definition.depth > maxStructDepth) {
        error(declaration,
              u"struct '%1' is too large: %2 values on %3 levels, of at most %4 on %5"_s.arg(
                  name, QString::number(definition.valueCount), QString::number(definition.depth),
                  QString::number(maxStructValues), QString::number(maxStructDepth)));
        // Whatever contains it gets no further message for the same reason.
        definition.valueCount = 1;
        definition.depth = 1;
    }
    if (!m_structs.registerStruct(std::move(definition)))
        error(declaration, u"struct '%1' already declared"_s.arg(name));
}

StructDef TypeChecker::readFields(const AstNode &declaration)
{
    StructDef definition{declaration.name, {}, 1, 1};
    QSet<QString> fieldNames;
    for (const FunctionParam &field : declaration.params) {
        if (fieldNames.contains(field.name)) {
            error(declaration,
                  u"duplicate field '%1' in struct '%2'"_s.arg(field.name, declaration.name));
        }
        fieldNames.insert(field.name);
        const bool isStruct = field.type == Type::Struct;
        if (isStruct && field.structName == declaration.name) {
            error(declaration,
                  u"recursive struct '%1' is rejected — §EX2-API-3.1.1"_s.arg(declaration.name));
        }
        const StructDef *const inner = isStruct ? m_structs.lookup(field.structName) : nullptr;
        definition.valueCount += inner ? inner->valueCount : 1;
        definition.depth = std::max(definition.depth, inner ? inner->depth + 1 : 1);
        definition.fields.append({field.name, field.type, field.structName});
    }
    return definition;
}

void TypeChecker::checkFunction(const AstNode &function)
{
    m_locals.clear();
    m_localValues = 0;
    for (const FunctionParam &param : function.params)
        declareLocal(param.name, typeOf(param));
    checkStmt(function.body);
    if (m_localValues > maxLocalValues) {
        error(function,
              u"function '%1' declares %2 values, more than %3"_s.arg(
                  function.name, QString::number(m_localValues), QString::number(maxLocalValues)));
    }
}

void TypeChecker::declareLocal(const QString &name, const TypeRef &type)
{
    const StructDef *const definition =
        type.type == Type::Struct ? findStruct(type.structName) : nullptr;
    m_localValues += definition ? definition->valueCount : 1;
    m_locals.insert(name, type);
}

void TypeChecker::checkStmt(const AstPtr &node)
{
    if (!node)
        return;
    switch (node->kind) {
    case AstKind::VariableDeclaration:
        checkDeclaration(*node);
        break;
    case AstKind::If:
        checkCondition(*node, "if condition must be bool"_L1);
        checkStmt(node->left);
        checkStmt(node->right);
        break;
    case AstKind::For:
        checkStmt(node->left);
        checkCondition(*node, "for condition must be bool"_L1);
        checkNode(node->right);
        checkStmt(node->body);
        break;
    case AstKind::While:
        checkCondition(*node, "while condition must be bool"_L1);
        checkStmt(node->body);
        break;
    case AstKind::DoWhile:
        checkStmt(node->body);
        checkCondition(*node, "do-while condition must be bool"_L1);
        break;
    case AstKind::Switch:
        checkNode(node->condition);
        [[fallthrough]];
    case AstKind::Block:
        for (const AstPtr &statement : std::as_const(node->statements))
            checkStmt(statement);
        break;
    default:
        // An expression statement or a return; the jumps have nothing to check.
        checkNode(node->left);
    }
}

void TypeChecker::checkDeclaration(AstNode &node)
{
    const TypeRef declared{node.type, node.structName, Type::Float};
    if (node.left) {
        checkNode(node.left);
        const TypeRef given = typeOf(node.left);
        if (!isCompatible(given, declared)) {
            error(node, u"declaration init type %1 incompatible with declared type %2"_s.arg(
                            displayName(given), displayName(declared)));
        }
    }
    // After its own initialiser, which may read a variable of the same name.
    declareLocal(node.name, declared);
}

void TypeChecker::checkCondition(const AstNode &statement, QLatin1StringView message)
{
    if (statement.condition && checkNode(statement.condition) != Type::Bool)
        error(statement, message);
}

Type TypeChecker::checkNode(const AstPtr &node)
{
    if (!node)
        return Type::Float;
    if (node->kind != AstKind::Constructor)
        node->structName.clear();
    node->elementType = Type::Float;
    node->type = computeType(*node);
    return node->type;
}

Type TypeChecker::computeType(AstNode &node)
{
    switch (node.kind) {
    case AstKind::Literal:
        return checkLiteral(node);
    case AstKind::Identifier:
        return checkIdentifier(node);
    case AstKind::Unary:
        return checkUnary(node);
    case AstKind::Binary:
        return checkBinary(node);
    case AstKind::Ternary:
        return checkTernary(node);
    case AstKind::Call:
        return checkCall(node);
    case AstKind::Constructor:
        return checkConstructor(node);
    case AstKind::Member:
    case AstKind::StructField:
        return checkMember(node);
    case AstKind::Index:
        return checkIndex(node);
    default:
        error(node, u"internal: statement in place of an expression"_s,
              DiagnosticCategory::Internal);
        return Type::Float;
    }
}

Type TypeChecker::checkLiteral(const AstNode &node) const
{
    switch (node.literal.typeId()) {
    case QMetaType::Float:
        return Type::Float;
    case QMetaType::Double:
        return Type::Double;
    case QMetaType::Bool:
        return Type::Bool;
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        // Both signs, so that mixed arithmetic of 64-bit literals stays signed.
        return Type::Int64;
    case QMetaType::UInt:
        return Type::Uint;
    default:
        return Type::Int;
    }
}

Type TypeChecker::checkIdentifier(AstNode &node)
{
    TypeRef found;
    if (const auto local = m_locals.constFind(node.name); local != m_locals.constEnd()) {
        found = *local;
    } else if (const auto slot = m_globals.constFind(node.name); slot != m_globals.constEnd()) {
        found = slot->type;
    } else {
        error(node, u"unresolved name '%1'"_s.arg(node.name), DiagnosticCategory::UnresolvedName);
        return Type::Float;
    }
    node.structName = found.structName;
    node.elementType = found.elementType;
    return found.type;
}

Type TypeChecker::checkUnary(AstNode &node)
{
    const Type operand = checkNode(node.left);
    switch (node.unaryKind) {
    case UnaryKind::LogicalNot:
        if (operand != Type::Bool)
            error(node, u"'!' requires bool operand"_s);
        return Type::Bool;
    case UnaryKind::BitNot:
        if (!isIntegerLike(operand))
            error(node, u"'~' requires integer operand"_s);
        return operand;
    default:
        takeCompanions(node, node.left);
        return operand;
    }
}

Type TypeChecker::checkBinary(AstNode &node)
{
    const Type left = checkNode(node.left);
    const Type right = checkNode(node.right);
    const BinaryKind kind = node.binaryKind;
    if (kind >= BinaryKind::Equal && kind <= BinaryKind::GreaterOrEqual)
        return Type::Bool;
    if (kind >= BinaryKind::LogicalAnd && kind <= BinaryKind::LogicalXor) {
        if (left != Type::Bool || right != Type::Bool)
            error(node, u"logical operator requires bool operands"_s);
        return Type::Bool;
    }
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight) {
        if (!isIntegerLike(left) || !isIntegerLike(right))
            error(node, u"bitwise operator requires integer operands"_s);
        return commonType(left, right);
    }
    if (kind == BinaryKind::Multiply)
        return productType(left, right);
    takeCompanions(node, node.left);
    return commonType(left, right);
}

Type TypeChecker::checkTernary(AstNode &node)
{
    if (checkNode(node.condition) != Type::Bool && node.condition)
        error(node, u"ternary condition must be bool"_s);
    const Type left = checkNode(node.left);
    const Type right = checkNode(node.right);
    takeCompanions(node, node.left);
    return commonType(left, right);
}

Type TypeChecker::checkIndex(AstNode &node)
{
    const Type object = checkNode(node.left);
    const Type index = checkNode(node.right);
    if (node.right && !(isScalar(index) && isIntegerLike(index)))
        error(node, u"array index must be integer"_s);
    if (object == Type::Array)
        return node.left->elementType;
    if (isVector(object))
        return scalarOf(object);
    if (isMatrix(object))
        return vectorOf(Type::Float, matrixRows(object));
    error(node, u"index on non-indexable type %1"_s.arg(displayName(typeOf(node.left))));
    return Type::Float;
}

/// What travels beside a struct or array type comes from the operand that gave the type.
void TypeChecker::takeCompanions(AstNode &node, const AstPtr &from) const
{
    if (!from)
        return;
    node.structName = from->structName;
    node.elementType = from->elementType;
}

const StructDef *TypeChecker::findStruct(const QString &name) const
{
    const StructDef *const own = m_structs.lookup(name);
    return own ? own : m_known.lookup(name);
}

void TypeChecker::error(const AstNode &node, const QString &message, DiagnosticCategory category)
{
    m_diagnostics.add(category, node.span, message);
}

} // namespace eval::internal
