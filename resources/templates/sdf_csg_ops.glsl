// ============= CSG Operations =============
// d1 is the new operand, d2 the accumulated value: a later child is cut out of what stands.

// mix() as it is defined: where one of the two is 1e10, the quicker x + (y - x) * t of some drivers
// leaves nothing of the other.
float blended(float x, float y, float t) {
    return x * (1.0 - t) + y * t;
}

float opUnion(float d1, float d2) {
    return min(d1, d2);
}

float opSubtraction(float d1, float d2) {
    return max(-d1, d2);
}

float opIntersection(float d1, float d2) {
    return max(d1, d2);
}

float opSmoothUnion(float d1, float d2, float k) {
    float h = clamp(0.5 + 0.5 * (d2 - d1) / k, 0.0, 1.0);
    return blended(d2, d1, h) - k * h * (1.0 - h);
}

float opSmoothSubtraction(float d1, float d2, float k) {
    float h = clamp(0.5 - 0.5 * (d2 + d1) / k, 0.0, 1.0);
    return blended(d2, -d1, h) + k * h * (1.0 - h);
}

float opSmoothIntersection(float d1, float d2, float k) {
    float h = clamp(0.5 - 0.5 * (d2 - d1) / k, 0.0, 1.0);
    return blended(d2, d1, h) + k * h * (1.0 - h);
}

float opAdditiveBlend(float d1, float d2, float k) {
    return (d1 + d2 * k) / (1.0 + k);
}

float opChamferUnion(float d1, float d2, float k) {
    return min(min(d1, d2), (d1 + d2 - k) * 0.70710678);
}

float opChamferIntersection(float d1, float d2, float k) {
    return max(max(d1, d2), (d1 + d2 + k) * 0.70710678);
}

float opXOR(float d1, float d2) {
    return max(min(d1, d2), -max(d1, d2));
}

float applyCsgOp(uint opType, float d1, float d2, float smoothness) {
    switch (opType) {
        case 0u: return opUnion(d1, d2);
        case 1u: return opSubtraction(d1, d2);
        case 2u: return opIntersection(d1, d2);
        case 3u: return opSmoothUnion(d1, d2, smoothness);
        case 4u: return opSmoothSubtraction(d1, d2, smoothness);
        case 5u: return opSmoothIntersection(d1, d2, smoothness);
        case 6u: return opAdditiveBlend(d1, d2, smoothness);
        case 7u: return opChamferUnion(d1, d2, smoothness);
        case 8u: return opChamferIntersection(d1, d2, smoothness);
        case 9u: return opXOR(d1, d2);
        default: return opUnion(d1, d2);
    }
}
