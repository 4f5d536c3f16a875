// What is known of variables where ways of control part and meet.

#include <eval/internal/VariableTable.h>

#include <eval/internal/Arithmetic.h>

#include <algorithm>

namespace eval::internal {

namespace {

constexpr int smallNodeLimit = 28;

/// The variable that an assignment to this expression changes; null for what cannot be assigned.
const AstNode *assignedVariable(const AstNode &target)
{
    const AstNode *node = &target;
    while (node->left && (node->kind == AstKind::Member || node->kind == AstKind::StructField ||
                          node->kind == AstKind::Index))
        node = node->left.data();
    return node->kind == AstKind::Identifier ? node : nullptr;
}

/// Counts down by the nodes of a piece of code that may be run without need; negative when it must
/// not be.
int smallness(const AstNode &node, int left)
{
    if (left < 0)
        return left;
    switch (node.kind) {
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
    case AstKind::Switch:
    case AstKind::Return:
    case AstKind::Break:
    case AstKind::Continue:
    case AstKind::Discard:
    case AstKind::Index: // its range is checked
        return -1;
    case AstKind::Call:
        if (!node.builtin)
            return -1;
        left -= 2;
        break;
    default:
        break;
    }
    --left;
    for (const AstPtr &child : {node.condition, node.left, node.right, node.body}) {
        if (child)
            left = smallness(*child, left);
    }
    for (const AstPtr &child : node.statements)
        left = smallness(*child, left);
    for (const AstPtr &child : node.arguments)
        left = smallness(*child, left);
    return left;
}

} // namespace

bool isSmall(const AstNode &node)
{
    return smallness(node, smallNodeLimit) >= 0;
}

int VariableTable::indexOf(const QString &name)
{
    const auto it = frame().indexes.constFind(name);
    if (it != frame().indexes.constEnd())
        return *it;
    const int index = static_cast<int>(frame().variables.size());
    frame().indexes.insert(name, index);
    frame().variables.push_back({});
    return index;
}

const LoweredVariable *VariableTable::find(const QString &name)
{
    const auto it = frame().indexes.constFind(name);
    return it == frame().indexes.constEnd() ? nullptr : &at(*it);
}

QStringList VariableTable::assignedNames(const AstNode *first, const AstNode *second)
{
    QStringList names = first ? assignedNames(*first) : QStringList();
    if (second)
        names += assignedNames(*second);
    return names;
}

QStringList VariableTable::assignedNames(const AstNode &node)
{
    const auto known = m_assigned.constFind(&node);
    if (known != m_assigned.constEnd())
        return *known;
    QStringList names;
    collectAssigned(node, names);
    names.removeDuplicates();
    m_assigned.insert(&node, names);
    return names;
}

void VariableTable::collectAssigned(const AstNode &node, QStringList &names) const
{
    const bool assigns =
        (node.kind == AstKind::Binary && isAssignment(node.binaryKind)) ||
        (node.kind == AstKind::Unary && node.unaryKind >= UnaryKind::PrefixIncrement);
    if (node.kind == AstKind::VariableDeclaration)
        names.append(node.name);
    else if (assigns && assignedVariable(*node.left))
        names.append(assignedVariable(*node.left)->name);
    else if (node.kind == AstKind::Call && m_functions.contains(node.name)) {
        // Whichever overload it is, an argument that is a plain name may come back changed.
        for (const AstPtr &argument : node.arguments) {
            if (argument->kind == AstKind::Identifier)
                names.append(argument->name);
        }
    }
    for (const AstPtr &child : {node.condition, node.left, node.right, node.body}) {
        if (child)
            collectAssigned(*child, names);
    }
    for (const AstPtr &child : node.statements)
        collectAssigned(*child, names);
    for (const AstPtr &child : node.arguments)
        collectAssigned(*child, names);
}

Join VariableTable::joinFor(const QStringList &names)
{
    Join join;
    join.label = m_code.newLabel();
    for (const QString &name : names) {
        const int index = indexOf(name);
        if (std::ranges::find(join.variables, index) == join.variables.end())
            join.variables.push_back(index);
    }
    join.joined.resize(join.variables.size());
    return join;
}

void VariableTable::arrive(Join &join)
{
    CodeBuilder::Moves moves;
    for (size_t i = 0; i < join.variables.size(); ++i) {
        const LoweredVariable &current = at(join.variables[i]);
        LoweredVariable &joined = join.joined[i];
        if (!join.isReached)
            joined.known = current.known;
        else if (joined.known != current.known)
            joined.known = Known::Maybe;
        if (joined.known != Known::Yes)
            continue;
        if (joined.value.lanes.isEmpty()) {
            joined.value = current.value;
            joined.isForeign = current.isForeign;
            for (Register &lane : joined.value.lanes)
                lane = m_code.newRegister();
        }
        if (joined.value.type != current.value.type ||
            joined.value.structName != current.value.structName ||
            joined.isForeign != current.isForeign) {
            m_values.giveUp();
            return;
        }
        for (qsizetype lane = 0; lane < joined.value.lanes.size(); ++lane)
            moves.emplace_back(joined.value.lanes[lane], current.value.lanes[lane]);
    }
    join.isReached = true;
    m_code.move(moves);
}

void VariableTable::settle(const Join &join)
{
    for (size_t i = 0; i < join.variables.size(); ++i)
        at(join.variables[i]) = join.joined[i];
}

void VariableTable::enter(const Join &join)
{
    m_code.bind(join.label);
    settle(join);
}

void VariableTable::mergeSelected(Register condition, const std::vector<LoweredVariable> &yes,
                                  const QStringList &names)
{
    for (const QString &name : names) {
        const auto index = static_cast<size_t>(indexOf(name));
        LoweredVariable &variable = frame().variables[index];
        if (yes[index].known != variable.known)
            variable.known = Known::Maybe;
        else if (variable.known == Known::Yes)
            variable.value = m_values.selected(condition, yes[index].value, variable.value);
    }
}

} // namespace eval::internal
