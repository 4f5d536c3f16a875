// Planes that cut the picture open. A ray is followed only where nothing is taken away: the part
// that is left is convex, so that it is one range of the ray. Where the ray enters it inside of the
// solid is the cut face.
const int MAX_SECTION_PLANES = 3;

layout(std140, binding = 8) uniform sections {
    vec4 sectionPlanes[3]; // xyz the unit normal towards what is taken away, w its distance
    ivec4 sectionCount;    // x
};

int g_sectionPlane = -1; // through which the ray enters; -1 when through none

vec2 rangeInSections(vec3 ro, vec3 rd, vec2 range) {
    for (int i = 0; i < sectionCount.x && i < MAX_SECTION_PLANES; ++i) {
        float outside = dot(sectionPlanes[i].xyz, ro) - sectionPlanes[i].w;
        float slope = dot(sectionPlanes[i].xyz, rd);
        if (abs(slope) < 1e-12) {
            range.y = outside > 0.0 ? -1.0 : range.y;
        } else if (slope > 0.0) {
            range.y = min(range.y, -outside / slope);
        } else if (-outside / slope > range.x) {
            range.x = -outside / slope;
            g_sectionPlane = i;
        }
    }
    return range;
}
