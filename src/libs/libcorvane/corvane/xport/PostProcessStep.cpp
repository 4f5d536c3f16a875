#include <corvane/xport/PostProcessStep.h>

#include <QRegularExpression>

#include <array>
#include <cmath>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array knownSteps{"weld"_L1, "sdfProject"_L1, "remesh"_L1, "coplanarMerge"_L1,
                                "qemDecimate"_L1};

/// @return what is wrong with the entry
QString parseStep(const QString &entry, PostProcessStep &step)
{
    static const QRegularExpression shape(uR"(^\s*(\w+)\s*(?:\(\s*([-+0-9.eE]+)\s*\))?\s*$)"_s);
    const QRegularExpressionMatch match = shape.match(entry);
    if (!match.hasMatch())
        return u"bad postprocess step '%1'"_s.arg(entry);
    step.name = match.captured(1);
    if (std::find(knownSteps.begin(), knownSteps.end(), step.name) == knownSteps.end())
        return u"unknown postprocess step '%1'"_s.arg(step.name);
    step.hasParameter = match.hasCaptured(2);
    bool isNumber = true;
    if (step.hasParameter)
        step.parameter = match.capturedView(2).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(step.parameter))
        return u"bad parameter in postprocess step '%1'"_s.arg(entry);
    return {};
}

} // namespace

QStringList postProcessStepNames()
{
    return QStringList(knownSteps.begin(), knownSteps.end());
}

PostProcessPlan parsePostProcess(const QStringList &entries)
{
    PostProcessPlan plan;
    for (const QString &entry : entries) {
        PostProcessStep step;
        const QString error = parseStep(entry, step);
        if (!error.isEmpty())
            return {.steps = {}, .error = error};
        plan.steps.append(step);
    }
    if (!plan.steps.isEmpty() && plan.steps.first().name != "weld"_L1)
        plan.steps.prepend({.name = u"weld"_s});
    return plan;
}

} // namespace corvane::xport
