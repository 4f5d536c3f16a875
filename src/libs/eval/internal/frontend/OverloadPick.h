#pragma once

#include <eval/internal/frontend/Ast.h>

#include <algorithm>
#include <iterator>

namespace eval::internal {

/// Whether a value has the very type of a parameter. Of the forms that values have, those that are
/// never an array have no element type.
template<class Argument>
bool matchesExactly(const FunctionParam &param, const Argument &argument)
{
    if constexpr (requires { argument.elementType; }) {
        if (param.isArray || argument.type == Type::Array)
            return param.isArray && argument.type == Type::Array &&
                   argument.elementType == param.type;
    }
    return !param.isArray && param.type == argument.type &&
           (param.type != Type::Struct || param.structName == argument.structName);
}

/// The function that a call runs, which all forms of evaluation have to agree on: of the overloads
/// of its name the one whose parameters match the arguments exactly, else the first that takes as
/// many; null when none does.
template<class Arguments>
const AstNode *pickOverload(const QList<const AstNode *> &overloads, const Arguments &arguments)
{
    const AstNode *firstOfArity = nullptr;
    for (const AstNode *const function : overloads) {
        if (function->params.size() != static_cast<qsizetype>(std::size(arguments)))
            continue;
        if (std::equal(function->params.begin(), function->params.end(), std::begin(arguments),
                       [](const FunctionParam &param, const auto &argument) {
                           return matchesExactly(param, argument);
                       }))
            return function;
        if (!firstOfArity)
            firstOfArity = function;
    }
    return firstOfArity;
}

} // namespace eval::internal
