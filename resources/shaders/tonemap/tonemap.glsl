// What all tone maps share: linear scene light in, display light from 0 to 1 out, still linear. Each defines
// toneMapped(), which is given finite light that is not negative.
layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;

const float BRIGHTEST = 65504.0; // the largest half float
const vec3 LUMINANCE = vec3(0.2126, 0.7152, 0.0722);

// A comparison with NaN is false, so NaN becomes black; infinity becomes the brightest.
float finiteLight(float value)
{
    return value > 0.0 ? min(value, BRIGHTEST) : 0.0;
}

vec3 toneMapped(vec3 light);

// Fetched, not filtered: a filter takes nothing of a neighbour, but nothing times NaN is NaN.
void main()
{
    vec4 texel = texelFetch(u_src, ivec2(vUV * vec2(textureSize(u_src, 0))), 0);
    vec3 light = vec3(finiteLight(texel.r), finiteLight(texel.g), finiteLight(texel.b));
    fragColor = vec4(clamp(toneMapped(light), 0.0, 1.0), clamp(finiteLight(texel.a), 0.0, 1.0));
}
