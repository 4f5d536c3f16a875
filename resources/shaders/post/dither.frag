#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(binding = 0) uniform sampler2D u_src;
layout(std140, binding = 1) uniform DitherBuf {
    float mode;
    float frameIndex;
    float quantBits;
};

float hashNoise(vec2 p)
{
    return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453);
}

float triangularNoise(vec2 p)
{
    vec2 moved = p + frameIndex * 17.0;
    return hashNoise(moved) + hashNoise(moved + 23.7) - 1.0;
}

// The 8 by 8 matrix of Bayer 1973: the bits of x ^ y and y, interleaved and reversed.
float bayer(uvec2 cell)
{
    uint mixed = cell.x ^ cell.y;
    uint value = ((mixed & 1u) << 5) | ((cell.y & 1u) << 4) | ((mixed & 2u) << 2) | ((cell.y & 2u) << 1) |
                 ((mixed & 4u) >> 1) | ((cell.y & 4u) >> 2);
    return float(value) / 64.0 - 0.5;
}

// Jimenez 2014.
float interleavedGradientNoise(vec2 p)
{
    vec2 moved = p + 5.588238 * frameIndex;
    return fract(52.9829189 * fract(dot(moved, vec2(0.06711056, 0.00583715)))) - 0.5;
}

float noiseAt(vec2 p)
{
    if (mode < 1.5) {
        return triangularNoise(p);
    }
    return mode < 2.5 ? bayer(uvec2(p) & 7u) : interleavedGradientNoise(p);
}

void main()
{
    vec4 col = texture(u_src, vUV);
    float amount = mode < 0.5 ? 0.0 : noiseAt(gl_FragCoord.xy) / (exp2(quantBits) - 1.0);
    fragColor = vec4(col.rgb + amount, col.a);
}
