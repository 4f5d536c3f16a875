#pragma once

#include <corvane/eval/EvalFieldEvaluator.h>
#include <corvane/eval/SdfSceneGraphBuilder.h>

namespace corvane::eval {

/// A compiled field, ready to be shared by any number of evaluators.
struct CompiledField
{
    QSharedPointer<const ::eval::Program> program; ///< null when the compile failed
    ::eval::Handle positionHandle = 0;
    ::eval::Handle distanceHandle = 0;
    QString error; ///< the first diagnostic of a failed compile, or "<no diag>"
};

/// Compiles what SdfSceneGraphBuilder built.
CompiledField compileField(SdfSceneGraphBuilder::Result &scene, ::eval::Backend backend);

/// Native code where the machine can make it, else the interpreter.
CompiledField compileFieldNativeFirst(SdfSceneGraphBuilder::Result &scene);

} // namespace corvane::eval
