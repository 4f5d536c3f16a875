#include <corvane/expr/BuiltinVariables.h>

#include <corvane/model/Corvane.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

QVariant timeOf(const model::Corvane &scene)
{
    return float(scene.animationTime());
}

} // namespace

const QList<BuiltinVariable> &builtinVariables()
{
    static const QList<BuiltinVariable> variables{
        {u"position"_s, ExprType::Vec3,
         u"Current sample point in object space, provided by the SDF evaluator."_s, nullptr},
        {u"normal"_s, ExprType::Vec3,
         u"Surface normal at the current sample point, provided by the SDF evaluator."_s, nullptr},
        {u"time"_s, ExprType::Float,
         u"Animation time in seconds. Equals currentFrame / fps from the scene's animation clock."_s,
         &timeOf},
    };
    return variables;
}

void bindBuiltinCpuValues(Values &values, const model::Corvane &scene)
{
    for (const BuiltinVariable &variable : builtinVariables()) {
        if (variable.cpuValue)
            values.insert(variable.name, variable.cpuValue(scene));
    }
}

const Values &mathConstants()
{
    static const Values constants{
        {u"math.PI"_s, 3.1415927f},
        {u"math.HALF_PI"_s, 1.5707964f},
        {u"math.TAU"_s, 6.2831855f},
        {u"math.TWO_PI"_s, 6.2831855f},
        {u"math.E"_s, 2.7182817f},
        {u"math.LN2"_s, 0.6931472f},
        {u"math.LN10"_s, 2.3025851f},
        {u"math.LOG2E"_s, 1.442695f},
        {u"math.LOG10E"_s, 0.4342945f},
        {u"math.SQRT2"_s, 1.4142135f},
        {u"math.SQRT1_2"_s, 0.70710677f},
        {u"math.PHI"_s, 1.618034f},
        {u"math.EPSILON"_s, 1.1920929e-7f},
        {u"math.INF"_s, std::numeric_limits<float>::infinity()},
        {u"math.DEG_TO_RAD"_s, 0.017453292f},
        {u"math.RAD_TO_DEG"_s, 57.295776f},
    };
    return constants;
}

void bindMathConstants(Values &values)
{
    const Values &constants = mathConstants();
    for (auto it = constants.cbegin(); it != constants.cend(); ++it)
        values.insert(it.key(), *it);
}

} // namespace corvane::expr
