// A deliberately small analysis: it answers for the loops that definitions are full of (`for
// (int i = 0; i < 8; i++)`) and calls everything else endless. A wrong "few" would leave a hung
// export that no cancel reaches; a wrong "many" costs one test a round.

#include <eval/internal/native/LoopRounds.h>

#include <eval/internal/frontend/AstWalk.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace eval::internal {

namespace {

constexpr qint64 many = LoopRounds::few + 1;
// A chain of calls is as long as its source; deeper ones are not followed.
constexpr int callDepthLimit = 8;
// A step smaller than this share of what it is added to may change nothing.
constexpr double smallestShare = 1e-6;

bool isLoop(const AstNode &node)
{
    return node.kind == AstKind::For || node.kind == AstKind::While ||
           node.kind == AstKind::DoWhile;
}

std::optional<double> literalOf(const AstNode *node)
{
    if (!node)
        return std::nullopt;
    if (node->kind == AstKind::Literal)
        return node->literal.toDouble();
    if (node->kind == AstKind::Unary && node->unaryKind == UnaryKind::Negate) {
        const auto value = literalOf(node->left.data());
        return value ? std::optional(-*value) : std::nullopt;
    }
    return std::nullopt;
}

bool isNamed(const AstNode *node, const QString &name)
{
    return node && node->kind == AstKind::Identifier && node->name == name;
}

/// Whether anything may write to a variable: every call that it is given to as it stands counts.
bool mayWrite(const AstPtr &body, const QString &name)
{
    bool written = false;
    forEachNode(body, [&](const AstNode &node) {
        const bool assigns = node.kind == AstKind::Binary && node.binaryKind >= BinaryKind::Assign;
        const bool steps =
            node.kind == AstKind::Unary && node.unaryKind >= UnaryKind::PrefixIncrement;
        if (assigns || steps)
            written = written || isNamed(node.left.data(), name);
        if (node.kind == AstKind::VariableDeclaration)
            written = written || node.name == name;
        for (const AstPtr &argument : node.arguments)
            written = written || (node.kind == AstKind::Call && isNamed(argument.data(), name));
    });
    return written;
}

/// What a step adds to the counter; 0 for anything else.
double stepOf(const AstNode *step, const QString &name)
{
    if (!step || !isNamed(step->left.data(), name))
        return 0.0;
    if (step->kind == AstKind::Unary) {
        const bool raises = step->unaryKind == UnaryKind::PrefixIncrement ||
                            step->unaryKind == UnaryKind::PostfixIncrement;
        return raises ? 1.0 : 0.0;
    }
    const bool adds = step->kind == AstKind::Binary && step->binaryKind == BinaryKind::AddAssign;
    return adds ? literalOf(step->right.data()).value_or(0.0) : 0.0;
}

/// A counter that steps by less may stand still.
double smallestStep(const AstNode &counter, double first, double limit)
{
    const bool isWhole = counter.type != Type::Float && counter.type != Type::Double;
    const double largest = std::max(std::abs(first), std::abs(limit));
    return std::max(isWhole ? 1.0 : 1e-30, smallestShare * largest);
}

/// The rounds of a loop by itself.
qint64 ownRounds(const AstNode &loop)
{
    const AstNode *const start = loop.left.data();
    const AstNode *const condition = loop.condition.data();
    if (loop.kind != AstKind::For || !start || start->kind != AstKind::VariableDeclaration ||
        !condition || condition->kind != AstKind::Binary ||
        (condition->binaryKind != BinaryKind::Less &&
         condition->binaryKind != BinaryKind::LessOrEqual) ||
        !isNamed(condition->left.data(), start->name) || mayWrite(loop.body, start->name))
        return many;
    const auto first = literalOf(start->left.data());
    const auto limit = literalOf(condition->right.data());
    const double step = stepOf(loop.right.data(), start->name);
    if (!first || !limit || !(step >= smallestStep(*start, *first, *limit)))
        return many;
    // A little more than needed, whichever the comparison and however the sums are rounded.
    const double rounds = std::max((*limit - *first) / step, 0.0) + 2.0;
    return rounds < double(many) ? qint64(std::ceil(rounds)) : many;
}

} // namespace

bool LoopRounds::areFew(const AstNode &loop, const FunctionTable &functions)
{
    return roundsIn(&loop, functions) <= few;
}

qint64 LoopRounds::roundsIn(const AstNode *node, const FunctionTable &functions)
{
    if (!node)
        return 0;
    if (isLoop(*node))
        return roundsOfLoop(*node, functions);
    qint64 sum = node->kind == AstKind::Call ? roundsOfCall(*node, functions) : 0;
    for (const AstPtr &child : {node->condition, node->left, node->right, node->body})
        sum += roundsIn(child.data(), functions);
    for (const QList<AstPtr> *list : {&node->statements, &node->arguments}) {
        for (const AstPtr &child : *list)
            sum += roundsIn(child.data(), functions);
    }
    return std::min(sum, many);
}

qint64 LoopRounds::roundsOfLoop(const AstNode &loop, const FunctionTable &functions)
{
    const auto known = m_known.constFind(&loop);
    if (known != m_known.constEnd())
        return *known;
    const qint64 each = 1 + roundsIn(loop.condition.data(), functions) +
                        roundsIn(loop.body.data(), functions) +
                        (loop.kind == AstKind::For ? roundsIn(loop.right.data(), functions) : 0);
    const qint64 before = loop.kind == AstKind::For ? roundsIn(loop.left.data(), functions) : 0;
    const qint64 rounds = std::min(ownRounds(loop) * each + before, many);
    m_known.insert(&loop, rounds);
    return rounds;
}

qint64 LoopRounds::roundsOfCall(const AstNode &call, const FunctionTable &functions)
{
    qint64 most = 0;
    for (const AstNode *function : functions.value(call.name)) {
        const auto known = m_known.constFind(function);
        if (known != m_known.constEnd()) {
            most = std::max(most, *known);
            continue;
        }
        if (m_callDepth == callDepthLimit)
            return many;
        // What calls itself may do so for ever.
        m_known.insert(function, many);
        ++m_callDepth;
        const qint64 rounds = roundsIn(function->body.data(), functions);
        --m_callDepth;
        m_known.insert(function, rounds);
        most = std::max(most, rounds);
    }
    return most;
}

} // namespace eval::internal
