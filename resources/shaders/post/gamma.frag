#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;

// The transfer function of sRGB, IEC 61966-2-1.
vec3 encodeSrgb(vec3 color)
{
    vec3 c = clamp(color, 0.0, 1.0);
    return mix(1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, 12.92 * c, lessThanEqual(c, vec3(0.0031308)));
}

void main()
{
    fragColor = vec4(encodeSrgb(texture(u_src, vUV).rgb), 1.0);
}
