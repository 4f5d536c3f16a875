#version 450
#extension GL_GOOGLE_include_directive : enable
#include "surface_item.glsl"
#include "surface_frame.glsl"
#include "surface_fragment.glsl"

layout(location = 0) out vec4 fragColor;

void main()
{
    if (cutTest()) {
        discard;
    }
    Surface s = Surface(vWorldPos, facingNormal(), clamp(surfaceAlbedo(), 0.0, 1.0), metallic, roughness,
                        max(cutPlanePoint.w, 0.0), itemId & 0x0fffffffu);
    fragColor = vec4(shadedColor(s), 1.0);
}
