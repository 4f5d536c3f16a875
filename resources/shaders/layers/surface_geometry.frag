#version 450
#extension GL_GOOGLE_include_directive : enable
#include "surface_item.glsl"
#include "surface_frame.glsl"
#include "surface_fragment.glsl"
#include "../item_id.glsl"

layout(location = 0) out vec4 outNormal;   // xyz world normal, w ambient occlusion
layout(location = 1) out vec4 outMaterial; // metallic, emission / (1 + emission), nothing, shadow
layout(location = 2) out vec4 outItemId;   // packed: layer type in the top four bits, index in the layer
layout(location = 3) out vec4 outAlbedo;   // the root of the albedo, so that dark colours keep their steps; roughness

void main()
{
    if (cutTest()) {
        discard;
    }
    float emission = max(cutPlanePoint.w, 0.0);
    outNormal = vec4(facingNormal(), 1.0);
    outMaterial = vec4(metallic, emission / (1.0 + emission), 0.0, 1.0);
    outItemId = packItemId(itemId);
    outAlbedo = vec4(sqrt(clamp(surfaceAlbedo(), 0.0, 1.0)), roughness);
}
