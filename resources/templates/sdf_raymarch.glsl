// Sphere tracing (Hart 1996): nothing of the scene is nearer than the field says, so that a step of
// that length passes nothing. The four algorithms differ in the step alone, and share one loop with
// one call of the field: drivers copy the whole evaluator to each place that calls it, and their time
// to compile a shader grows with that.
//
// A ray is followed through the box of the scene only. It ends where the field is less than half a
// pixel away, since a nearer point would be drawn in the same place.

const int RAYMARCH_LIPSCHITZ = 1;
const int RAYMARCH_OVER_RELAX = 2;
const int RAYMARCH_BISECTION = 3;
const int BISECTION_STEPS = 8;
const float BOUNDS_HOLD_SCENE = 2.0;

int stepsTaken = 0;
#ifdef SECTION_PLANES
float g_rayStart = 0.0;
#endif

// Half the width of a pixel at the start of the ray, and what each unit of its length adds.
float g_pixelRadius = 0.0;
float g_pixelSpread = 0.0;

struct March {
    float t;
    float end;        // of the ray
    float radius;     // within which the last sample said that nothing is
    float advance;    // the last step
    float relaxation; // length of a step over its safe length
    float lo;         // of a crossing that is looked for: outside
    float hi;         // inside
    int bisections;   // left to do
    bool hit;
};

// To be called where all pixels of a group still run: the width comes from neighbours.
void measurePixel(vec3 origin, vec3 direction) {
    g_pixelRadius = 0.5 * min(length(dFdx(origin)), length(dFdy(origin)));
    g_pixelSpread = 0.5 * min(length(dFdx(direction)), length(dFdy(direction)));
}

float hitRadius(float t) {
    return max(epsilon, g_pixelRadius + g_pixelSpread * t);
}

// Where the ray is in the box; x > y when it misses it.
vec2 rangeInBounds(vec3 ro, vec3 rd) {
    vec2 range = vec2(0.0, maxDistance);
    if (bounds_max.w != BOUNDS_HOLD_SCENE) {
        return range;
    }
    const float leastSlope = 1e-12;
    vec3 slope = mix(rd, vec3(leastSlope), lessThan(abs(rd), vec3(leastSlope)));
    vec3 margin = vec3(2.0 * epsilon);
    vec3 toMin = (bounds_min.xyz - margin - ro) / slope;
    vec3 toMax = (bounds_max.xyz + margin - ro) / slope;
    vec3 enter = min(toMin, toMax);
    vec3 leave = max(toMin, toMax);
    return vec2(max(range.x, max(enter.x, max(enter.y, enter.z))),
                min(range.y, min(leave.x, min(leave.y, leave.z))));
}

// The crossing lies between lo and hi, and t is half-way: one half is left.
void bisect(inout March m, float dist) {
    --m.bisections;
    if (dist < 0.0) {
        m.hi = m.t;
    } else {
        m.lo = m.t;
    }
    if (dist >= 0.0 && dist < epsilon) {
        m.hi = m.t;
        m.bisections = 0;
    }
    m.hit = m.bisections == 0;
    m.t = m.hit ? m.hi : 0.5 * (m.lo + m.hi);
}

// Keinert et al. 2014, "Enhanced Sphere Tracing": a step past the safe radius may have passed
// something unless the spheres at both ends touch. Then it goes on from the end of the safe one.
bool passedTooFar(March m, float dist) {
    return m.relaxation > 1.0 && (dist < 0.0 || m.radius + dist < m.advance);
}

void stepOn(inout March m, float dist) {
    float scale = raymarchAlgorithm == RAYMARCH_LIPSCHITZ || raymarchAlgorithm == RAYMARCH_BISECTION
                      ? stepScale
                      : m.relaxation;
    m.radius = dist;
    m.advance = dist * scale;
    m.t += m.advance;
}

// One sample's worth of progress. False at the end of the ray.
bool marchOn(inout March m, float dist) {
    if (m.bisections > 0) {
        bisect(m, dist);
        return !m.hit;
    }
    if (passedTooFar(m, dist)) {
        m.t += m.radius - m.advance;
        m.relaxation = 1.0;
        return true;
    }
    bool looksBack = raymarchAlgorithm == RAYMARCH_BISECTION || bounds_min.w > 1.0;
    if (looksBack && dist < 0.0 && m.advance > 0.0) {
        m.lo = m.t - m.advance;
        m.hi = m.t;
        m.t = 0.5 * (m.lo + m.hi);
        m.bisections = BISECTION_STEPS;
        return true;
    }
    m.hit = dist < hitRadius(m.t);
    if (!m.hit) {
        stepOn(m, dist);
    }
    return !m.hit && m.t <= m.end;
}

bool rayMarch(vec3 ro, vec3 rd, out float t) {
    vec2 range = rangeInBounds(ro, rd);
#ifdef SECTION_PLANES
    range = rangeInSections(ro, rd, range);
    g_rayStart = range.x;
#endif
    float relaxation = raymarchAlgorithm == RAYMARCH_OVER_RELAX ? 1.0 + stepScale : 1.0;
    March m = March(range.x, range.y, 0.0, 0.0, relaxation, 0.0, 0.0, 0, false);
    float steepness = max(bounds_min.w, 1.0);
    bool goesOn = range.x <= range.y && maxSteps > 0;
    if (goesOn) {
        do {
            ++stepsTaken;
            goesOn = marchOn(m, sceneSDF(ro + rd * m.t) / steepness);
        } while (goesOn && (stepsTaken < maxSteps || m.bisections > 0));
    }
    t = m.t;
    return m.hit;
}
