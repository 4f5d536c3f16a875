# Post effects, anti-aliasing, and the layers that are no field: part of corvane_rendering.
set(CORVANE_RENDERING_POST_SOURCES
    corvane/aa/AntialiasMenu.cpp
    corvane/aa/AntialiasStrategyFactory.cpp
    corvane/aa/CompositeStrategy.cpp
    corvane/aa/NamedStrategy.cpp
    corvane/rendering/post/BakedShader.cpp
    corvane/rendering/post/BasePostEffect.cpp
    corvane/rendering/post/BloomEffect.cpp
    corvane/rendering/post/FullscreenPass.cpp
    corvane/rendering/post/HighlightEffect.cpp
    corvane/rendering/post/HoverHighlightEffect.cpp
    corvane/rendering/post/PostChain.cpp
    corvane/rendering/post/PostEffectRegistry.cpp
    corvane/rendering/post/PostProcessLayer.cpp
    corvane/rendering/post/PostTarget.cpp
    corvane/rendering/post/SelectionHighlightEffect.cpp
    corvane/rendering/post/SelectionMaskComputer.cpp
    corvane/rendering/post/SelectionTable.cpp)

set(CORVANE_TONE_MAPS
    aces_hill aces_narkowicz agx agx_golden agx_punchy exponential filmic_blender hable khronos_pbr_neutral lottes none
    reinhard reinhard_ext reinhard_jodie tony_mcmapface)
list(TRANSFORM CORVANE_TONE_MAPS REPLACE "(.+)" "tonemap/\\1.frag")

# Their shaders, once the target is there.
function(corvane_rendering_post_shaders target)
    corvane_shaders(${target} rendering_tone_maps PREFIX / FILES ${CORVANE_TONE_MAPS}
        INCLUDES shaders/tonemap/tonemap.glsl shaders/tonemap/agx.glsl)
    corvane_shaders(${target} rendering_post_shaders PREFIX /
        FILES
            fullscreen.vert post/bloom_composite.frag post/bloom_downsample.frag post/bloom_threshold.frag
            post/bloom_upsample.frag post/copy.frag post/dither.frag post/exposure.frag post/fxaa.frag post/gamma.frag
            post/hover_highlight.frag post/selection_highlight.frag
        INCLUDES shaders/item_id.glsl shaders/post/bloom.glsl shaders/post/highlight.glsl)
endfunction()
