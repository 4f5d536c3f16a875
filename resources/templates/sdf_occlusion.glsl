float calculateAO(vec3 pos, vec3 nor) {
    float occ = 0.0;
    float sca = 1.0;
    int i = 1;
    do {
        float h = 0.01 + 0.06 * float(i);
        float d = sceneSDF(pos + h * nor);
        occ += (h - d) * sca;
        sca *= 0.85;
        ++i;
    } while (i <= sampleCount(5));
    return clamp(1.0 - 1.5 * occ, 0.0, 1.0);
}

float calculateSoftShadow(vec3 ro, vec3 rd, float mint, float maxt, float k) {
    float res = 1.0;
    float t = mint;
    int i = 0;
    bool goesOn = true;
    do {
        float h = sceneSDF(ro + rd * t);
        res = h < epsilon ? 0.0 : min(res, k * h / t);
        t += clamp(h, 0.02, 0.2);
        ++i;
        goesOn = h >= epsilon && t < maxt;
    } while (goesOn && i < sampleCount(16));
    return res;
}
