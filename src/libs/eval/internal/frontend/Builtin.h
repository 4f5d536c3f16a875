#pragma once

#include <eval/Type.h>
#include <eval/internal/registers/Opcode.h>

#include <QLatin1StringView>
#include <QList>
#include <QStringView>

#include <span>

namespace eval::internal {

struct AstNode;
class Value;

/// The built-in functions, one for each name and number of arguments.
// clang-format off
enum class BuiltinId {
    Abs, Acos, Acosh, All, Any, Asin, Asinh, Atan, Atan2, Atanh, BitCount, BitfieldExtract,
    BitfieldInsert, Ceil, Clamp, Cos, Cosh, Cross, Degrees, Determinant, Distance, Dot, Equal,
    Exp, Exp2, Faceforward, FindLSB, FindMSB, FloatBitsToInt, Floor, Fma, Fract, GreaterThan,
    GreaterThanEqual, IntBitsToFloat, Inverse, Inversesqrt, Isinf, Isnan, Length, LessThan,
    LessThanEqual, Log, Log2, MatrixCompMult, Max, Min, Mix, Mod, Normalize, Not, NotEqual,
    OuterProduct, PackHalf2x16, PackSnorm2x16, PackSnorm4x8, PackUnorm2x16, PackUnorm4x8, Pow,
    Radians, Reflect, Refract, Round, RoundEven, Sign, Sin, Sinh, Smoothstep, Sqrt, Step, Tan,
    Tanh, Transpose, Trunc, UnpackHalf2x16, UnpackSnorm2x16, UnpackSnorm4x8, UnpackUnorm2x16,
    UnpackUnorm4x8,
};
// clang-format on

/// How the type of a built-in's result follows from the types of its arguments.
enum class BuiltinResult {
    AsFirst,       ///< the type of the first argument
    ScalarOfFirst, ///< the lane type of the first argument: length, distance, dot
    Cross,         ///< dvec3 for dvec3, vec3 for everything else
    BoolLanes,     ///< bool, or the bvec of the first argument's size
    Bool,
    Int,
    Uint,
    Float,
    Vec2,
    Vec4,
    OuterProduct, ///< columns from the second vector's size, rows from the first's
};

/// How a lane function treats arguments that are all integers.
enum class IntegerRule {
    ToFloat, ///< sqrt(2) is a float
    Keep,    ///< abs(-2), min(1, 2) stay integers
};

using Arguments = std::span<const Value>;

/// What the interpreter computes. Exactly one of the pointers is set.
struct BuiltinFunction
{
    double (*unary)(double) = nullptr; ///< of each lane, as are the next two
    double (*binary)(double, double) = nullptr;
    double (*ternary)(double, double, double) = nullptr;
    Value (*general)(Arguments) = nullptr;
    IntegerRule integers = IntegerRule::ToFloat;
    bool takesBoolVectorsOnly = false; ///< with other arguments a call means a user function
};

/// The operations on registers that do the same lane by lane; End where there is none.
struct BuiltinOps
{
    Op onFloats = Op::End;
    Op onInts = Op::End; ///< Move: an integer is its own result
};

/// The few shapes that a call has in emitted text.
enum class NativeForm {
    PerLane,    ///< one call a lane, with scalars broadcast
    ToScalar,   ///< one call on vectors of the first argument's size
    ToVector,   ///< the same, giving such a vector
    Refraction, ///< two vectors and a number
    Cross,
    Relation, ///< an operator between lanes
    Test,     ///< a question to each lane
    AnyOrAll, ///< an operator that joins the lanes
    Negation,
    OfMatrix, ///< of one matrix
    OuterProduct,
    ComponentProduct,
    BitQuestion, ///< of the 32 bits of a scalar
    BitField,    ///< of bits, an offset and a count
    FloatBits,
    BitsAsFloat,
    Pack2, ///< two lanes into 32 bits
    Pack4,
    Unpack, ///< 32 bits into lanes
};

struct NativeBuiltin
{
    const char *function = ""; ///< the C++ function or operator
    NativeForm form = NativeForm::PerLane;
};

/// All there is to know of one built-in function.
struct Builtin
{
    BuiltinId id = BuiltinId::Abs;
    QLatin1StringView name;
    int arity = 1;
    BuiltinResult result = BuiltinResult::AsFirst;
    BuiltinFunction function{};
    BuiltinOps ops{};
    NativeBuiltin native{};
};

/// All of them, sorted by name and then by arity.
std::span<const Builtin> builtinTable();
/// Those of one name; none for a name that is no built-in.
std::span<const Builtin> findBuiltins(QStringView name);
/// The one that takes this many arguments; null when there is none.
const Builtin *findBuiltin(QStringView name, qsizetype argumentCount);

/// The checker's type of a call; `arguments` may be shorter than the arity where the source was in
/// error.
Type builtinResultType(const Builtin &builtin, const QList<Type> &arguments);

/// The built-in that a call runs, which for a few depends on the first argument; null when it runs
/// none. A user function of the same name has no say in it.
const Builtin *builtinOf(const AstNode &call, Type firstArgument);

} // namespace eval::internal
