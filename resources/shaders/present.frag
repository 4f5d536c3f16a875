#version 450

layout(location = 0) in vec2 v_uv;
layout(location = 0) out vec4 fragColor;

layout(std140, binding = 0) uniform Params {
    uint tonemapMode;
    uint flipY;
    float exposure;
    uint checkerEnabled;
    vec4 checkerA;
    vec4 checkerB;
    vec2 checkerPan;
    float checkerTile;
    float checkerZoom;
};

layout(binding = 1) uniform sampler2D uTex;

const uint TONEMAP_NONE = 0u;
const uint TONEMAP_REINHARD = 1u;

vec3 reinhard(vec3 color)
{
    return color / (1.0 + color);
}

// Rational fit of the ACES film curve: Narkowicz 2015.
vec3 acesFit(vec3 color)
{
    return clamp(color * (2.51 * color + 0.03) / (color * (2.43 * color + 0.59) + 0.14), 0.0, 1.0);
}

vec3 encodeSrgb(vec3 color)
{
    vec3 c = clamp(color, 0.0, 1.0);
    return mix(1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, 12.92 * c, lessThanEqual(c, vec3(0.0031308)));
}

vec3 toneMapped(vec3 color)
{
    if (tonemapMode == TONEMAP_NONE)
        return color;
    vec3 light = max(color, 0.0);
    return encodeSrgb(tonemapMode == TONEMAP_REINHARD ? reinhard(light) : acesFit(light));
}

vec3 checker()
{
    vec2 cell = floor((checkerPan + gl_FragCoord.xy / checkerZoom) / checkerTile);
    return mod(cell.x + cell.y, 2.0) < 0.5 ? checkerA.rgb : checkerB.rgb;
}

void main()
{
    vec4 texel = texture(uTex, v_uv);
    vec3 color = toneMapped(texel.rgb * exposure);
    if (checkerEnabled != 0u)
        fragColor = vec4(mix(checker(), color, texel.a), 1.0);
    else
        fragColor = vec4(color, texel.a);
}
