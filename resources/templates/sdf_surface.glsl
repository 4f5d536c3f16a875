// Loops over samples of the field end at a count that no compiler knows, so that it does not unroll
// them: each copy would hold the whole evaluator.
int sampleCount(int wanted) {
    return nodeCount > 0 ? wanted : 0;
}

float calculateDepth(vec3 hit) {
    vec4 clip = projMatrix * viewMatrix * vec4(hit, 1.0);
    return (clip.z / clip.w + 1.0) * 0.5;
}

// Four samples at the corners of a tetrahedron, `reach` away along each axis, and a last one at the
// point itself, whose materials stay in the globals.
vec3 calculateNormalWithin(vec3 pos, float reach) {
    const vec3 corners[5] = vec3[5](vec3(1.0, -1.0, -1.0), vec3(-1.0, -1.0, 1.0),
                                    vec3(-1.0, 1.0, -1.0), vec3(1.0, 1.0, 1.0), vec3(0.0));
    vec3 gradient = vec3(0.0);
    int i = 0;
    do {
        gradient += corners[i] * sceneSDF(pos + corners[i] * reach);
        ++i;
    } while (i < sampleCount(5));
    float size = length(gradient);
    return size > 0.0 ? gradient / size : vec3(0.0, 1.0, 0.0);
}

vec3 calculateNormal(vec3 pos) {
    return calculateNormalWithin(pos, 2.0 * epsilon);
}
