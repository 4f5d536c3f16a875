const uint NODE_PRIMITIVE = 0u;
const uint NODE_CSG_OP = 1u;
const uint NODE_POS_TRANSFORM = 2u;
const uint NODE_DIST_MODIFIER = 3u;
const uint NODE_POS_AWARE_MOD = 4u;

const uint MATERIAL_MODE_BASE_WINS = 0u;
const uint MATERIAL_MODE_OPERAND_WINS = 1u;
const uint MATERIAL_MODE_BLEND = 2u;

struct SDFMaterial {
    vec4 albedo;
    float metallic;
    float roughness;
    float emission;
    float padding;
};

// 256 bytes, so that an index is a shift.
struct SDFNode {
    uint nodeType;
    uint definitionIndex;
    uint operationType;
    uint flags;
    int firstChild;
    int nextSibling;
    int childCount;
    int parentIndex;
    vec4 params;
    vec4 params2;
    mat4 transform;
    mat4 invTransform;
    SDFMaterial material;
    float smoothRadius;
    float densityScale;
    float shellThickness;
    float blendSharpness;
    uint materialMode;
    uint reserved0;
    uint reserved1;
    uint reserved2;
};

layout(std430, binding = 1) readonly buffer NodeBuffer {
    SDFNode nodes[];
};
