vec3 debugHeatmap(float t) {
    float r = clamp(1.5 - 4.0 * abs(t - 1.0), 0.0, 1.0);
    float g = clamp(1.5 - 4.0 * abs(t - 0.5), 0.0, 1.0);
    float b = clamp(1.5 - 4.0 * abs(t), 0.0, 1.0);
    return vec3(r, g, b);
}

// Neighbouring ids get hues far apart: steps of the golden ratio.
vec3 debugIdColor(int id) {
    float hue = fract(float(id) * 0.618033988749895);
    vec3 rgb = clamp(abs(mod(hue * 6.0 + vec3(0.0, 4.0, 2.0), 6.0) - 3.0) - 1.0, 0.0, 1.0);
    return mix(vec3(1.0), rgb, 0.8) * 0.9;
}
