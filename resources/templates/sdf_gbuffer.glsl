// What the geometry passes left of each pixel.

layout(binding = 2) uniform sampler2D gDepth;
layout(binding = 3) uniform sampler2D gNormal;
layout(binding = 4) uniform sampler2D gMaterial;
layout(binding = 5) uniform sampler2D gItemId;
layout(binding = 7) uniform sampler2D gAlbedo;

// {{include shaders/item_id.glsl}}

const uint LAYER_TYPE_SDF = 1u;

struct Surface {
    float depth;
    vec3 position;
    vec3 normal;
    int materialNode;
    SDFMaterial material;
    float ao;
    float shadow;
    bool isCut; // a face of a section
};

uint channelByte(float channel) {
    return uint(channel * 255.0 + 0.5);
}

// False where no field was drawn.
bool readSurface(ivec2 texel, vec2 uv, out Surface surface) {
    uint itemId = unpackItemId(texelFetch(gItemId, texel, 0));
    surface.depth = texelFetch(gDepth, texel, 0).r;
    if ((itemId >> 28) != LAYER_TYPE_SDF || surface.depth >= 1.0) {
        return false;
    }
    vec4 world = invViewProjMatrix * vec4(uv * 2.0 - 1.0, surface.depth * 2.0 - 1.0, 1.0);
    vec4 normalAO = texelFetch(gNormal, texel, 0);
    vec4 materials = texelFetch(gMaterial, texel, 0);
    vec4 albedo = texelFetch(gAlbedo, texel, 0);
    int secondary = int(channelByte(materials.g) | (channelByte(albedo.r) << 8));
    surface.position = world.xyz / world.w;
    surface.normal = normalize(normalAO.xyz);
    surface.materialNode = int(itemId & 0xfffffffu);
    surface.material = materialOfNodes(surface.materialNode, secondary, materials.b);
    surface.ao = normalAO.w;
    surface.shadow = materials.a;
    surface.isCut = albedo.g > 0.5;
    return true;
}
