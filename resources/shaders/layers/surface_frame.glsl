// What the picture is lit and seen by: one block for all items of a layer. std140.
struct Light {
    vec4 direction; // xyz a unit vector towards the light
    vec4 color;     // rgb colour, a intensity
};

layout(std140, binding = 1) uniform SurfaceFrame {
    mat4 invViewProjMatrix;
    vec4 cameraPos;
    Light lights[8];
    vec4 environmentAxes[6]; // what is seen along +x, -x, +y, -y, +z, -z
    int lightCount;
    int lighting; // 0 lights and environment, 1 lights and their share as ambient, 2 the fixed light of volumes
    int debugView;
    uint layerType;
    float maxDistance;
    float ndcYSign;
};

#include "../../templates/sdf_brdf.glsl"

struct Surface {
    vec3 position;
    vec3 normal;
    vec3 albedo;
    float metallic;
    float roughness;
    float emission;
    uint itemIndex;
};

vec3 alongAxes(vec3 dir)
{
    vec3 weights = abs(dir);
    vec3 sum = weights.x * environmentAxes[dir.x < 0.0 ? 1 : 0].rgb +
               weights.y * environmentAxes[dir.y < 0.0 ? 3 : 2].rgb +
               weights.z * environmentAxes[dir.z < 0.0 ? 5 : 4].rgb;
    return sum / (weights.x + weights.y + weights.z);
}

vec3 environmentLight(Surface s, vec3 v)
{
    vec3 F0 = mix(vec3(0.04), s.albedo, s.metallic);
    float facing = max(dot(s.normal, v), 0.0);
    vec3 kS = F0 + (max(vec3(1.0 - s.roughness), F0) - F0) * pow(clamp(1.0 - facing, 0.0, 1.0), 5.0);
    vec3 diffuse = (1.0 - kS) * (1.0 - s.metallic) * s.albedo * alongAxes(s.normal);
    vec3 specular = kS * alongAxes(reflect(-v, s.normal)) * (1.0 - s.roughness * s.roughness);
    return diffuse + specular;
}

vec3 litColor(Surface s)
{
    if (lighting == 2) {
        float ndl = max(dot(s.normal, normalize(vec3(0.4, 0.85, 0.5))), 0.0);
        return (0.30 + 0.70 * ndl) * s.albedo;
    }
    vec3 v = normalize(cameraPos.xyz - s.position);
    vec3 direct = vec3(0.0);
    vec3 lightSum = vec3(0.0);
    for (int i = 0; i < min(lightCount, 8); ++i) {
        vec3 radiance = lights[i].color.rgb * lights[i].color.a;
        direct += cookTorrance(s.normal, v, lights[i].direction.xyz, s.albedo, s.metallic, s.roughness) * radiance;
        lightSum += radiance;
    }
    vec3 ambient = lighting == 0 ? environmentLight(s, v)
                                 : s.albedo * lightSum * 0.08 * (1.0 - s.metallic * 0.5);
    return direct + ambient + s.albedo * s.emission;
}

// Neighbouring ids get hues far apart: steps of the golden ratio.
vec3 idColor(uint id)
{
    float hue = fract(float(id) * 0.618033988749895);
    vec3 rgb = clamp(abs(mod(hue * 6.0 + vec3(0.0, 4.0, 2.0), 6.0) - 3.0) - 1.0, 0.0, 1.0);
    return mix(vec3(1.0), rgb, 0.8) * 0.9;
}

vec3 shadedColor(Surface s)
{
    switch (debugView) {
        case 1: return vec3(1.0);
        case 2: return s.normal * 0.5 + 0.5;
        case 3: return vec3(1.0 - length(s.position - cameraPos.xyz) / maxDistance);
        case 4: return idColor(s.itemIndex);
        case 5: return s.albedo;
        case 6: return vec3(1.0);
        default: return litColor(s);
    }
}
