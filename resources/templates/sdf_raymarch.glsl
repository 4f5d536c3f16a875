const int RAYMARCH_LIPSCHITZ = 1;
const int RAYMARCH_OVER_RELAX = 2;
const int RAYMARCH_BISECTION = 3;
const int BISECTION_STEPS = 8;

int stepsTaken = 0;

bool marchNaive(vec3 ro, vec3 rd, out float t) {
    t = 0.0;
    for (int i = 0; i < maxSteps; ++i) {
        stepsTaken = i + 1;
        float dist = sceneSDF(ro + rd * t);
        if (dist < epsilon) {
            return true;
        }
        t += dist;
        if (t > maxDistance) {
            break;
        }
    }
    return false;
}

bool marchLipschitz(vec3 ro, vec3 rd, out float t) {
    t = 0.0;
    for (int i = 0; i < maxSteps; ++i) {
        stepsTaken = i + 1;
        float dist = sceneSDF(ro + rd * t);
        if (dist < epsilon) {
            return true;
        }
        t += dist * stepScale;
        if (t > maxDistance) {
            break;
        }
    }
    return false;
}

// Keinert et al. 2014, "Enhanced Sphere Tracing": steps past the safe radius, back when two spheres miss.
bool marchOverRelaxed(vec3 ro, vec3 rd, out float t) {
    t = 0.0;
    float omega = 1.0 + stepScale;
    float prevStep = 0.0;
    for (int i = 0; i < maxSteps; ++i) {
        stepsTaken = i + 1;
        float dist = sceneSDF(ro + rd * t);
        float candidate = dist * omega;
        // Only a step that was longer than safe can have missed something.
        if (omega > 1.0 && candidate + dist < prevStep) {
            t -= prevStep;
            omega = 1.0;
            prevStep = 0.0;
            continue;
        }
        if (dist < epsilon) {
            return true;
        }
        prevStep = candidate;
        t += candidate;
        if (t > maxDistance) {
            break;
        }
    }
    return false;
}

// The crossing between a point outside and one inside.
float bisectCrossing(vec3 ro, vec3 rd, float lo, float hi) {
    for (int j = 0; j < BISECTION_STEPS; ++j) {
        float mid = 0.5 * (lo + hi);
        float dist = sceneSDF(ro + rd * mid);
        if (dist >= 0.0 && dist < epsilon) {
            return mid;
        }
        if (dist < 0.0) {
            hi = mid;
        } else {
            lo = mid;
        }
    }
    return hi;
}

bool marchBisecting(vec3 ro, vec3 rd, out float t) {
    t = 0.0;
    for (int i = 0; i < maxSteps; ++i) {
        stepsTaken = i + 1;
        float dist = sceneSDF(ro + rd * t);
        if (dist < epsilon) {
            return true;
        }
        float advance = dist * stepScale;
        t += advance;
        if (t > maxDistance) {
            break;
        }
        if (sceneSDF(ro + rd * t) < 0.0) {
            t = bisectCrossing(ro, rd, t - advance, t);
            return true;
        }
    }
    return false;
}

bool rayMarch(vec3 ro, vec3 rd, out float t) {
    switch (raymarchAlgorithm) {
        case RAYMARCH_LIPSCHITZ: return marchLipschitz(ro, rd, t);
        case RAYMARCH_OVER_RELAX: return marchOverRelaxed(ro, rd, t);
        case RAYMARCH_BISECTION: return marchBisecting(ro, rd, t);
        default: return marchNaive(ro, rd, t);
    }
}
