// What is known of variables where ways of control part and meet.

#include <eval/internal/Lowering.h>

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

bool Lowering::isSmall(const AstNode &node)
{
    return smallness(node, smallNodeLimit) >= 0;
}

int Lowering::variableIndex(const QString &name)
{
    const auto it = frame().indexes.constFind(name);
    if (it != frame().indexes.constEnd())
        return *it;
    const int index = static_cast<int>(frame().variables.size());
    frame().indexes.insert(name, index);
    frame().variables.push_back({});
    return index;
}

QStringList Lowering::assignedNames(const AstNode &node)
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

void Lowering::collectAssigned(const AstNode &node, QStringList &names) const
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

Lowering::Meeting Lowering::meetingFor(const QStringList &names)
{
    Meeting meeting;
    meeting.label = m_code.newLabel();
    for (const QString &name : names) {
        const int index = variableIndex(name);
        if (std::ranges::find(meeting.variables, index) == meeting.variables.end())
            meeting.variables.push_back(index);
    }
    meeting.met.resize(meeting.variables.size());
    return meeting;
}

void Lowering::arrive(Meeting &meeting)
{
    CodeBuilder::Moves moves;
    for (size_t i = 0; i < meeting.variables.size(); ++i) {
        const Variable &current = frame().variables[static_cast<size_t>(meeting.variables[i])];
        Variable &met = meeting.met[i];
        if (!meeting.reached)
            met.known = current.known;
        else if (met.known != current.known)
            met.known = Known::Maybe;
        if (met.known != Known::Yes)
            continue;
        if (met.value.lanes.isEmpty()) {
            met.value = current.value;
            met.isForeign = current.isForeign;
            for (Register &lane : met.value.lanes)
                lane = m_code.newRegister();
        }
        if (met.value.type != current.value.type ||
            met.value.structName != current.value.structName ||
            met.isForeign != current.isForeign) {
            giveUp();
            return;
        }
        for (qsizetype lane = 0; lane < met.value.lanes.size(); ++lane)
            moves.emplace_back(met.value.lanes[lane], current.value.lanes[lane]);
    }
    meeting.reached = true;
    m_code.move(moves);
}

void Lowering::settle(const Meeting &meeting)
{
    for (size_t i = 0; i < meeting.variables.size(); ++i)
        frame().variables[static_cast<size_t>(meeting.variables[i])] = meeting.met[i];
}

void Lowering::enter(const Meeting &meeting)
{
    m_code.bind(meeting.label);
    settle(meeting);
}

} // namespace eval::internal
