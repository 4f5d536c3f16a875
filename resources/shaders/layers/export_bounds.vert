#version 450

layout(location = 0) in vec3 begin;
layout(location = 1) in vec3 end;
layout(location = 2) in vec2 corner; // x: 0 at the begin and 1 at the end, y: side of the line

layout(location = 0) out float vSide;

layout(std140, binding = 0) uniform Buf {
    mat4 mvp; // of the device's clip space
    vec4 color;
    vec4 pixelSize; // xy of the target, z the line's width in pixels
};

out gl_PerVertex { vec4 gl_Position; };

// A line is a strip of constant width on the screen. What is behind the camera is cut off first: it has no place
// there.
void main()
{
    vec4 a = mvp * vec4(begin, 1.0);
    vec4 b = mvp * vec4(end, 1.0);
    const float nearest = 1e-4;
    if (a.w < nearest && b.w > nearest) {
        a = mix(a, b, (nearest - a.w) / (b.w - a.w));
    } else if (b.w < nearest && a.w > nearest) {
        b = mix(b, a, (nearest - b.w) / (a.w - b.w));
    }
    vec2 along = (b.xy / b.w - a.xy / a.w) * pixelSize.xy;
    float size = length(along);
    vec2 across = size > 0.0 ? vec2(-along.y, along.x) / size : vec2(0.0, 1.0);
    vec4 place = corner.x < 0.5 ? a : b;
    place.xy += across * corner.y * (pixelSize.z + 1.0) / pixelSize.xy * place.w;
    vSide = corner.y * (pixelSize.z + 1.0) * 0.5;
    gl_Position = place;
}
