#include <corvane/rendering/post/PostEffectRegistry.h>

#include <corvane/rendering/post/BasePostEffect.h>
#include <corvane/rendering/post/BloomEffect.h>
#include <corvane/rendering/post/DitherEffect.h>
#include <corvane/rendering/post/ExposureEffect.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

/// A number of an effect, as the table below has them.
struct Number
{
    QString name;
    QString displayName;
    QString description;
    double defaultValue = 0.0;
    double minimum = 0.0;
    double maximum = 1.0;
    double step = 0.01;
    QString unit{};
};

QList<registry::ParameterDef> definitions(const QList<Number> &numbers)
{
    QList<registry::ParameterDef> all;
    for (const Number &number : numbers) {
        registry::ParameterDef definition;
        definition.name = number.name;
        definition.displayName = number.displayName;
        definition.description = number.description;
        definition.uiHint = registry::UIHint::Slider;
        definition.defaultValue = number.defaultValue;
        definition.minValue = number.minimum;
        definition.maxValue = number.maximum;
        definition.stepValue = number.step;
        definition.unit = number.unit;
        all.append(definition);
    }
    return all;
}

template<class Effect>
PostEffectEntry entry(const QString &id, const QString &displayName, const QString &category,
                      const QString &description, const QList<Number> &numbers = {})
{
    const BasePostEffect::Description shader{
        .id = id, .fragmentShader = u":/%1.frag.qsb"_s.arg(id), .parameters = definitions(numbers)};
    return {.id = id,
            .displayName = displayName,
            .category = category,
            .description = description,
            .parameters = shader.parameters,
            .create = [shader]() { return std::make_unique<Effect>(shader); }};
}

PostEffectEntry toneMap(const QString &id, const QString &displayName, const QString &description,
                        const QList<Number> &numbers = {})
{
    return entry<BasePostEffect>(id, displayName, u"tonemap"_s, description, numbers);
}

Number whitePoint(double defaultValue, double maximum)
{
    return {.name = u"whitePoint"_s,
            .displayName = u"White point"_s,
            .description = u"The light that becomes white"_s,
            .defaultValue = defaultValue,
            .minimum = 1.0,
            .maximum = maximum,
            .step = 0.1};
}

QList<Number> lottesNumbers()
{
    return {
        {u"contrast"_s, u"Contrast"_s, u"Steepness about the middle"_s, 1.6, 1.0, 2.0, 0.01},
        {u"shoulder"_s, u"Shoulder"_s, u"How gently highlights end"_s, 0.987, 0.9, 1.0, 0.001},
        {u"hdrMax"_s, u"Brightest light"_s, u"The light that becomes white"_s, 8.0, 4.0, 32.0, 0.1},
        {u"midIn"_s, u"Middle in"_s, u"The light of a middle grey"_s, 0.18, 0.1, 0.5, 0.01},
        {u"midOut"_s, u"Middle out"_s, u"What a middle grey becomes"_s, 0.267, 0.1, 0.5, 0.01}};
}

} // namespace

const PostEffectRegistry &PostEffectRegistry::instance()
{
    static const PostEffectRegistry registry;
    return registry;
}

PostEffectRegistry::PostEffectRegistry()
{
    bootstrapBuiltins();
}

const PostEffectEntry *PostEffectRegistry::get(const QString &id) const
{
    const auto found = std::find_if(m_entries.cbegin(), m_entries.cend(),
                                    [&id](const auto &known) { return known.id == id; });
    return found == m_entries.cend() ? nullptr : &*found;
}

QStringList PostEffectRegistry::idsByCategory(const QString &category) const
{
    QStringList ids;
    for (const PostEffectEntry &known : m_entries) {
        if (known.category == category)
            ids.append(known.id);
    }
    return ids;
}

std::unique_ptr<PostEffect> PostEffectRegistry::create(const QString &id) const
{
    const PostEffectEntry *const known = get(id);
    return known ? known->create() : nullptr;
}

void PostEffectRegistry::bootstrapBuiltins()
{
    addToneMaps();
    addLightEffects();
    addOutputEffects();
}

void PostEffectRegistry::addToneMaps()
{
    m_entries += {
        toneMap(u"none"_s, u"None (Clamp)"_s, u"Hard clamp to [0, 1]. No tone mapping."_s),
        toneMap(u"reinhard"_s, u"Reinhard"_s,
                u"c / (1 + c) on each channel. Soft highlights, low contrast."_s),
        toneMap(u"agx"_s, u"AGX"_s,
                u"Wide range with a neutral, photographic roll-off; bright colours bleach."_s),
        toneMap(u"reinhard_jodie"_s, u"Reinhard Jodie"_s,
                u"Between Reinhard on luminance and on channels; keeps more colour."_s),
        toneMap(u"aces_narkowicz"_s, u"ACES Filmic (Narkowicz)"_s,
                u"A short fit of the ACES film curve. High contrast."_s),
        toneMap(u"aces_hill"_s, u"ACES Fitted (Hill)"_s,
                u"ACES with its colour spaces. Natural highlights, darker middle."_s),
        toneMap(u"tony_mcmapface"_s, u"Tony McMapface"_s,
                u"Neutral, keeps hue while highlights bleach. A fit of the published table."_s),
        toneMap(u"khronos_pbr_neutral"_s, u"Khronos PBR Neutral"_s,
                u"Base colours come out as they are; only highlights are compressed."_s),
        toneMap(u"exponential"_s, u"Exponential"_s,
                u"1 - exp(-c) — parameterless asymptotic curve; gentle highlight roll-off, "
                "no clipping."_s),
        toneMap(u"reinhard_ext"_s, u"Reinhard Extended"_s,
                u"Reinhard with a light that becomes pure white."_s, {whitePoint(4.0, 8.0)}),
        toneMap(u"hable"_s, u"Hable (Uncharted 2)"_s,
                u"A film curve with toe and shoulder. Soft and rather dark."_s,
                {whitePoint(11.2, 16.0)}),
        toneMap(u"lottes"_s, u"Lottes"_s,
                u"Contrast, shoulder, middle grey and brightest light, each to choose."_s,
                lottesNumbers()),
        toneMap(u"agx_punchy"_s, u"AGX Punchy"_s, u"AGX with more contrast and saturation."_s),
        toneMap(u"agx_golden"_s, u"AGX Golden"_s, u"AGX with a warm, soft look."_s),
        toneMap(u"filmic_blender"_s, u"Filmic (Blender)"_s,
                u"The base contrast of Filmic over 16.5 stops, on each channel."_s),
    };
}

void PostEffectRegistry::addLightEffects()
{
    PostEffectEntry bloom{.id = u"bloom"_s,
                          .displayName = u"Bloom"_s,
                          .category = u"light"_s,
                          .description = u"Multi-scale Kawase bloom."_s,
                          .parameters = definitions(
                              {{u"intensity"_s, u"Intensity"_s, u"How much of it is added"_s,
                                BloomEffect::defaultIntensity, 0.0, 1.0, 0.01},
                               {u"threshold"_s, u"Threshold"_s, u"Light below it does not glow"_s,
                                BloomEffect::defaultThreshold, 0.0, 16.0, 0.05}})};
    bloom.create = [parameters = bloom.parameters]() {
        return std::make_unique<BloomEffect>(parameters);
    };
    m_entries += {entry<ExposureEffect>(u"exposure"_s, u"Exposure"_s, u"light"_s,
                                        u"Makes the whole picture brighter or darker."_s,
                                        {{u"ev"_s, u"Exposure (EV)"_s, u"Each step doubles"_s, 0.0,
                                          -4.0, 4.0, 0.01, u"EV"_s}}),
                  bloom};
}

void PostEffectRegistry::addOutputEffects()
{
    m_entries += {
        entry<BasePostEffect>(u"fxaa"_s, u"FXAA"_s, u"antialias"_s,
                              u"Smooths edges in the finished picture."_s,
                              {{u"edgeThreshold"_s, u"Edge threshold"_s,
                                u"Contrast below it is no edge"_s, 0.0625, 0.0, 0.5, 0.005}}),
        entry<BasePostEffect>(u"gamma"_s, u"Gamma"_s, u"output"_s,
                              u"Encodes linear light as sRGB."_s),
        entry<DitherEffect>(
            u"dither"_s, u"Dither"_s, u"output"_s, u"Noise of one step against bands."_s,
            {{u"mode"_s, u"Mode"_s,
              u"0 none, 1 triangular noise, 2 Bayer matrix, 3 interleaved gradient noise"_s, 3.0,
              0.0, 3.0, 1.0},
             {u"frameIndex"_s, u"Frame"_s, u"Moves the noise"_s, 0.0, 0.0, 65535.0, 1.0},
             {u"quantBits"_s, u"Bits"_s, u"Bits of a channel of the target"_s, 8.0, 1.0, 16.0,
              1.0}}),
    };
}

} // namespace corvane::rendering
