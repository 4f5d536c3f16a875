#pragma once

#include <corvane/shader/IShadingMode.h>

#include <QLatin1String>

namespace corvane::shader {

/// What a mode says of itself: a row for each class below.
struct ShadingModeTexts
{
    QLatin1String id;
    QLatin1String displayName;
    QLatin1String description;
    QLatin1String source; ///< under ":/templates"; empty when there is none
    bool needsEnvironmentSnippet = false;
    bool needsSceneEvaluation = false;
    bool needsAccumulation = false;
};

/// A mode that is all said by its row.
class ShadingMode : public IShadingMode
{
public:
    [[nodiscard]] QString id() const override { return m_texts.id; }
    [[nodiscard]] QString displayName() const override { return m_texts.displayName; }
    [[nodiscard]] QString description() const override { return m_texts.description; }
    [[nodiscard]] QString shadingShaderSource() const override;
    [[nodiscard]] bool needsEnvironmentSnippet() const override
    {
        return m_texts.needsEnvironmentSnippet;
    }
    [[nodiscard]] bool needsSceneEvaluation() const override
    {
        return m_texts.needsSceneEvaluation;
    }
    [[nodiscard]] bool needsAccumulation() const override { return m_texts.needsAccumulation; }

protected:
    explicit ShadingMode(const ShadingModeTexts &texts)
        : m_texts(texts)
    {}

private:
    const ShadingModeTexts &m_texts;
};

/// Lights with the Cook-Torrance BRDF, and an ambient part of their sum.
class PBRShadingMode : public ShadingMode
{
public:
    PBRShadingMode();
};

/// The same lights; ambient and reflections come from the background.
class EnvLitPBRShadingMode : public ShadingMode
{
public:
    EnvLitPBRShadingMode();
};

/// Light that is followed over several bounces, a frame at a time. It has a name and no source yet:
/// whoever draws refuses a mode that needs accumulation.
class PathTracedShadingMode : public ShadingMode
{
public:
    PathTracedShadingMode();
    [[nodiscard]] bool isRasterised() const override { return false; }
    [[nodiscard]] bool isInteractive() const override { return false; }
};

} // namespace corvane::shader
