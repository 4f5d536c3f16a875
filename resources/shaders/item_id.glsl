// Item ids travel through a picture of four 8-bit channels, least significant byte in red: every back-end
// can draw to that format, which no integer or float format can say, and all 2^32 ids survive. rhi/ItemIdTexel.h
// is the same pair of functions for a picture that was read back. Blending must be off, and a reader takes
// texelFetch or nearest filtering.
vec4 packItemId(uint id)
{
    return vec4(id & 255u, (id >> 8) & 255u, (id >> 16) & 255u, id >> 24) / 255.0;
}

uint unpackItemId(vec4 texel)
{
    uvec4 bytes = uvec4(texel * 255.0 + 0.5);
    return bytes.r | (bytes.g << 8) | (bytes.b << 16) | (bytes.a << 24);
}
