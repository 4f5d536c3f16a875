#include <corvane/rendering/RenderOptions.h>

namespace corvane::rendering {

namespace {

void take(QString &mine, const QString &other)
{
    if (!other.isEmpty())
        mine = other;
}

void take(int &mine, int other)
{
    if (other != RenderOptions::sameInt)
        mine = other;
}

void take(float &mine, float other)
{
    if (other != RenderOptions::sameFloat)
        mine = other;
}

} // namespace

void RenderOptions::merge(const RenderOptions &other)
{
    for (const auto field : {&RenderOptions::environmentId, &RenderOptions::lightingEnvironmentId,
                             &RenderOptions::shadingModeId, &RenderOptions::toneMapId,
                             &RenderOptions::antialiasStrategyId})
        take(this->*field, other.*field);
    for (const auto field :
         {&RenderOptions::sampleCount, &RenderOptions::ditherMode, &RenderOptions::ditherBits,
          &RenderOptions::maxSteps, &RenderOptions::raymarchAlgorithm, &RenderOptions::debugView,
          &RenderOptions::gammaEncoding, &RenderOptions::groundPlaneVisible})
        take(this->*field, other.*field);
    for (const auto field : {&RenderOptions::exposure, &RenderOptions::maxDistance,
                             &RenderOptions::epsilon, &RenderOptions::stepScale})
        take(this->*field, other.*field);
    effectParameters.insert(other.effectParameters);
    environmentSettings.insert(other.environmentSettings);
}

} // namespace corvane::rendering
