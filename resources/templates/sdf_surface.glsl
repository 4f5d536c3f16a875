float calculateDepth(vec3 hit) {
    vec4 clip = projMatrix * viewMatrix * vec4(hit, 1.0);
    return (clip.z / clip.w + 1.0) * 0.5;
}

// Four samples at the corners of a tetrahedron.
vec3 calculateNormal(vec3 pos) {
    float h = 2.0 * epsilon;
    vec2 k = vec2(1.0, -1.0);
    return normalize(k.xyy * sceneSDF(pos + k.xyy * h)
                     + k.yyx * sceneSDF(pos + k.yyx * h)
                     + k.yxy * sceneSDF(pos + k.yxy * h)
                     + k.xxx * sceneSDF(pos + k.xxx * h));
}
