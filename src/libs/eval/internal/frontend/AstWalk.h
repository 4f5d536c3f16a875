#pragma once

#include <eval/internal/frontend/Ast.h>

namespace eval::internal {

/// Calls `visit(node)` for a node and everything below it, in source order where order matters to a
/// reader: condition, left, right, body, statements, arguments. Null children are left out.
template<class Visit>
void forEachNode(const AstPtr &node, const Visit &visit)
{
    if (!node)
        return;
    visit(*node);
    forEachNode(node->condition, visit);
    forEachNode(node->left, visit);
    forEachNode(node->right, visit);
    forEachNode(node->body, visit);
    for (const AstPtr &statement : node->statements)
        forEachNode(statement, visit);
    for (const AstPtr &argument : node->arguments)
        forEachNode(argument, visit);
}

} // namespace eval::internal
