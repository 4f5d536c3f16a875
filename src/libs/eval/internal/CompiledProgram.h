#pragma once

#include <eval/Program.h>
#include <eval/internal/frontend/Ast.h>
#include <eval/internal/frontend/StructRegistry.h>

#include <QHash>
#include <QList>
#include <QSet>
#include <QSharedPointer>
#include <QString>

namespace eval::internal {

class BackendCode;
class LoweredProgram;

/// A slot of a compiled graph. Inputs and outputs are told apart by the list that they stand in.
struct SlotBinding
{
    QString name;
    Type type = Type::Float;        ///< of an output: the type of its expression
    QString structName;             ///< when type is Struct
    Type elementType = Type::Float; ///< when type is Array
    Handle handle = 0;
    int floatOffset =
        -1; ///< in the flat buffer of its side, slots packed by slotFloatWidth; -1 for an array
    int arrayIndex = -1; ///< in the table of array inputs; -1 for everything else
    bool used = false;   ///< an input that some expression reads
};

/// The code of one output, parallel to the list of output bindings.
struct OutputCode
{
    AstPtr root;                      ///< checked; never null in a compiled program
    QList<AstPtr> functions;          ///< in source order; of equal signatures the last one counts
    QSet<QString> recursiveFunctions; ///< names that take part in direct or mutual recursion
    QList<qsizetype> dependencies;    ///< the outputs, by index, whose values the expression reads
};

/// What Graph::compile() makes: bindings and checked code, never changed afterwards, so that any
/// number of threads may read it. The trees are shared with the compile cache and with other
/// programs of equal key.
///
/// No tree is higher than maxTreeDepth (see Ast.h), so that a recursive walk over one is safe; a
/// walk that follows calls into function bodies has to bound the sum of the heights that it stands
/// in.
class CompiledProgram
{
public:
    QList<SlotBinding> inputs;  ///< in declaration order
    QList<SlotBinding> outputs; ///< in declaration order
    QList<OutputCode> code;     ///< parallel to `outputs`
    QList<qsizetype>
        evaluationOrder;     ///< indexes of outputs; an output comes after all that it reads
    StructRegistry structs;  ///< of all outputs; the first declaration of a name counts
    int inputFloatCount = 0; ///< floats of one element's inputs in a flat buffer, arrays apart
    int outputFloatCount = 0;
    int arrayCount = 0;
    bool reportRuntimeFaults = true;
    bool fromCache = false;
    Backend backend = Backend::Interpreted; ///< resolved: never Auto

    /// The fast form of `code`, which names slots by their index in `inputs` and `outputs`, never
    /// by handle: programs of equal key share it with handles of their own. Null where the tree
    /// itself has to be walked.
    QSharedPointer<const LoweredProgram> lowered;
    /// Code of a back-end other than Interpreted; null on Interpreted.
    QSharedPointer<const BackendCode> backendCode;

    /// Which side and which place a handle stands for.
    struct SlotPlace
    {
        bool isInput = false;
        qsizetype index = -1; ///< -1: no such handle
    };
    SlotPlace placeOf(Handle handle) const { return places.value(handle); }
    QHash<Handle, SlotPlace> places;
};

/// Makes the fast form of a program, or null when something in it has no fast form. Called once at
/// the end of a compile, when everything but `lowered` is filled in.
QSharedPointer<const LoweredProgram> lower(const CompiledProgram &program);

} // namespace eval::internal
