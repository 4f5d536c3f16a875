// As one would write them for one scene: no nodes, no buffers, constants in the text.
int g_resultMaterialNode = 0;
int g_resultSecondaryMaterial = -1;
float g_resultBlendFactor = 0.0;

float handBox(vec3 p, vec3 b) {
    vec3 q = abs(p) - b;
    return length(max(q, 0.0)) + min(max(q.x, max(q.y, q.z)), 0.0);
}

float handTorus(vec3 p, float R, float r) {
    return length(vec2(length(p.xz) - R, p.y)) - r;
}

float handCylinder(vec3 p, float r, float h) {
    vec2 q = vec2(length(p.xz) - r, abs(p.y) - h);
    return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0);
}

float handSmoothUnion(float a, float b, float k) {
    float h = max(k - abs(a - b), 0.0) / k;
    return min(a, b) - h * h * k * 0.25;
}
