#version 450

// Stands in for a generated shader that does not compile: a visible sign of that, and no picture of
// the scene. It reads the node buffer as plain records of primitives, which nodes are not; whatever
// comes of that is bounded, and stripes cross the picture where it comes to nothing.

layout(location = 0) in vec2 v_uv;
layout(location = 1) in vec3 v_rayDir;
layout(location = 2) in vec3 v_rayOrigin;
layout(location = 0) out vec4 fragColor;

layout(std140, binding = 0) uniform buf {
    mat4 mvp;
    mat4 viewMatrix;
    mat4 projMatrix;
    vec4 cameraPos;
    int primitiveCount;
};

struct PrimitiveRecord {
    uint shape;
    uint operation;
    float smoothness;
    float pad;
    vec4 center;
    vec4 size;
    vec4 color;
};

layout(std430, binding = 1) readonly buffer PrimitiveBuffer {
    PrimitiveRecord primitives[];
};

const int MAX_PRIMITIVES = 4; // the records in the shortest of node buffers
const int MAX_STEPS = 64;
const float FAR_AWAY = 1000.0;
const float HIT = 0.001;
const vec3 STRIPE_COLOR = vec3(0.85, 0.1, 0.5);

float sphere(vec3 p, vec4 size) {
    return length(p) - size.x;
}

float box(vec3 p, vec4 size) {
    vec3 q = abs(p) - size.xyz;
    return length(max(q, 0.0)) + min(max(q.x, max(q.y, q.z)), 0.0);
}

float cylinder(vec3 p, vec4 size) {
    vec2 q = vec2(length(p.xz) - size.x, abs(p.y) - size.y);
    return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0);
}

float torus(vec3 p, vec4 size) {
    return length(vec2(length(p.xz) - size.x, p.y)) - size.y;
}

float verticalCapsule(vec3 p, vec4 size) {
    return length(vec3(p.x, p.y - clamp(p.y, 0.0, size.y), p.z)) - size.x;
}

// A bound of the distance: the larger of those to the slope and to the base.
float cone(vec3 p, vec4 size) {
    vec2 slope = normalize(vec2(size.y, size.x));
    return max(dot(slope, vec2(length(p.xz), p.y - size.y)), -p.y);
}

float shapeDistance(PrimitiveRecord record, vec3 pos) {
    vec3 p = pos - record.center.xyz;
    switch (record.shape) {
        case 0u: return sphere(p, record.size);
        case 1u: return box(p, record.size);
        case 2u: return cylinder(p, record.size);
        case 3u: return torus(p, record.size);
        case 4u: return verticalCapsule(p, record.size);
        case 5u: return p.y;
        case 6u: return cone(p, record.size);
        default: return FAR_AWAY;
    }
}

float smoothMin(float a, float b, float k) {
    float h = max(k - abs(a - b), 0.0) / max(k, 0.0001);
    return min(a, b) - 0.25 * h * h * k;
}

float combined(PrimitiveRecord record, float d, float scene) {
    switch (record.operation) {
        case 1u: return max(scene, -d);
        case 2u: return max(scene, d);
        case 3u: return smoothMin(scene, d, record.smoothness);
        case 4u: return -smoothMin(-scene, d, record.smoothness);
        case 5u: return -smoothMin(-scene, -d, record.smoothness);
        default: return min(scene, d);
    }
}

float sceneDistance(vec3 pos) {
    float scene = FAR_AWAY;
    int count = clamp(primitiveCount, 0, MAX_PRIMITIVES);
    for (int i = 0; i < count; ++i) {
        scene = combined(primitives[i], shapeDistance(primitives[i], pos), scene);
    }
    return scene;
}

bool march(vec3 origin, vec3 direction, out float t) {
    t = 0.0;
    for (int i = 0; i < MAX_STEPS; ++i) {
        float d = sceneDistance(origin + direction * t);
        if (d < HIT) {
            return true;
        }
        t += d;
    }
    return false;
}

void drawStripes() {
    if (fract((gl_FragCoord.x + gl_FragCoord.y) / 16.0) > 0.25) {
        discard;
    }
    gl_FragDepth = 0.9999;
    fragColor = vec4(STRIPE_COLOR, 1.0);
}

void main() {
    vec3 direction = normalize(v_rayDir);
    float t;
    if (!march(v_rayOrigin, direction, t)) {
        drawStripes();
        return;
    }
    vec4 clip = projMatrix * viewMatrix * vec4(v_rayOrigin + direction * t, 1.0);
    gl_FragDepth = clamp((clip.z / clip.w + 1.0) * 0.5, 0.0, 0.9999);
    fragColor = vec4(STRIPE_COLOR * exp(-0.02 * t), 1.0);
}
